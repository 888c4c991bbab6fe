// An agent's state as its log has it, for commands that look inside: its entities as a mirror makes them, and their
// values as text, all through reflection alone.
//
//    StateView view( { .state = "agent.db" } );
//    view.entity( "/timeSync" )->fwkType();
#pragma once

#include "framework/Mirror.h"
#include "framework/Reflection.h"
#include "input/Json.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Host {

struct StateOptions {
   std::string state;   ///< the log, as state/OpenLog.h has it
   std::string card;    ///< in its place: the card description, whose agent keeps its state where it usually is
   std::vector<std::string> words;   ///< names, attributes, values
   bool json = false;                ///< for programs
   std::string socket{};             ///< of the agent, for requests: where nobody says, the state does
   bool yes = false;                 ///< of a chip that is ready, too
};

class StateView {
 public:
   /// Reads a snapshot. Throws Input::InputError, Vor::LogUnavailableException.
   explicit StateView( StateOptions const & options );

   Vor::LogPosition position() const { return position_; }
   std::vector<Vor::Ptr<Vor::Entity>> entities() const { return mirror_.entities(); }
   /// Throws Input::InputError with the nearest name where there is none.
   Vor::Ptr<Vor::Entity> entity( std::string const & name ) const;
   /// The entity of that name and type, empty where there is none.
   template<class T> Vor::Ptr<T> the( std::string const & name ) const {
      return Vor::ptrCast<T>( mirror_.entity( name ) );
   }
   /// Of the agent's socket; empty where it has none.
   std::string socket() const;

   /// Waits for the next turn and applies it entry by entry; `applied` is called behind each. After a gap the state is
   /// read again, and `gap` called before that is applied.
   void follow(
      std::function<void( Vor::LogEntry const & )> const & applied,
      std::function<void( Vor::LogPosition )> const & gap );

 private:
   std::unique_ptr<Vor::LogSource> const source_;
   Vor::Mirror mirror_;
   Vor::LogPosition position_;
   Vor::LogBatch batch_;
};

/// The text of a value: numbers also in hexadecimal.
std::string shownText( Vor::Value const & value );

/// One value of an entity, of a collection at one of its keys.
struct ShownValue {
   std::string_view attribute;
   Vor::Value key;   ///< empty unless the attribute is a collection
   Vor::Value value;

   /// "opsToDo[3]"
   std::string name() const;
};

/// All values that an entity shows, in the order of its attributes; of one attribute where that is named. Throws
/// Input::InputError with the nearest where there is none of that name.
std::vector<ShownValue> shownValues( Vor::Ptr<Vor::Entity> const & entity, std::string const & attribute = "" );

/// Those as JSON: a collection as an object by key.
Input::Json jsonOf( std::vector<ShownValue> const & values );

}   // namespace Host
