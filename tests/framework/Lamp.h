// A small entity type and its directory, on which the tests try the framework's rules.
#pragma once

#include "framework/Directory.h"
#include "framework/HashMap.h"
#include "framework/Value.h"

#include <functional>
#include <string>
#include <vector>

namespace Test {

enum Colour : U32 { white_, red_, deepBlue_ = 7 };
Vor::EnumType const & enumType( Colour );
/// Open: other numbers may come.
enum Mood : U32 { calm_, merry_ };
Vor::EnumType const & enumType( Mood );
using Vor::sequenceToValue;
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

class Lamp : public Vor::EntityOf<Lamp> {
 public:
   using Notes = Vor::HashMap2018<Vor::String>;

   Lamp( Vor::Name name, U32 watts, Colour colour, Vor::Ptr<Vor::Entity const> socket )
      : EntityOf( std::move( name ) ), watts_( watts ), colour_( colour ), socket_( std::move( socket ) ) {
      ++living;
   }
   ~Lamp() override { --living; }

   struct NotifieeConst : NotifieeConstBase {
      virtual void onBrightness() {}
      virtual void onLit() {}
      virtual void onNotes( U32 ) {}
      virtual void onNotes() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   U32 watts() const { return watts_; }
   Colour colour() const { return colour_; }
   Vor::Ptr<Vor::Entity const> socket() const { return socket_; }

   U32 brightness() const { return brightness_; }
   void brightnessIs( U32 brightness ) { attributeIs<"brightness">( brightness_, brightness ); }
   bool lit() const { return lit_; }
   void litIs( bool lit ) { attributeIs<"lit">( lit_, lit ); }

   Notes const & notes() const { return notes_; }
   void notesIs( U32 key, Vor::String const & note ) {
      if ( notes_.valueIs( key, note ) ) attributeNotify<"notes">( key );
   }
   void notesDel( U32 key ) {
      if ( !notes_.has( key ) ) return;
      notes_.valueDel( key );
      attributeNotify<"notes">( key );
   }

   /// Gives `seconds` for each time.
   U32 blink( U32 times, U32 seconds ) {
      brightnessIs( brightness_ + times );
      return times * seconds;
   }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Lamp::name>, Vor::Fixed<"watts", &Lamp::watts>, Vor::Fixed<"colour", &Lamp::colour>,
      Vor::Fixed<"socket", &Lamp::socket>,
      Vor::Changeable<"brightness", &Lamp::brightness, &Lamp::brightnessIs, &NotifieeConst::onBrightness>,
      Vor::Changeable<"lit", &Lamp::lit, &Lamp::litIs, &NotifieeConst::onLit>,
      Vor::Collection<
         "notes", &Lamp::notes, &Lamp::notesIs, &Lamp::notesDel, NotifieeConst, U32, &NotifieeConst::onNotes,
         &NotifieeConst::onNotes>,
      Vor::Operation<"blink", &Lamp::blink, "times", "seconds">>;

   static inline int living = 0;

 private:
   U32 const watts_;
   Colour const colour_;
   Vor::Ptr<Vor::Entity const> const socket_;
   U32 brightness_ = 0;
   bool lit_ = false;
   Notes notes_;
};

Vor::Ptr<Lamp> lampFactory( Vor::Name name, U32 watts, Colour colour, Vor::Ptr<Vor::Entity const> socket );

/// A white lamp of 40 W without a socket.
inline Vor::Ptr<Lamp> plainLamp( Vor::Name name = "lamp" ) { return lampFactory( name, 40, white_, nullptr ); }

class LampDir final : public Vor::DirectoryOf<LampDir, Lamp, "lamp"> {
 public:
   using DirectoryOf::DirectoryOf;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onLamp( Vor::Name const & ) {}
      virtual void onLamp() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Vor::Ptr<Lamp>
   lampIs( Vor::Name const & name, U32 watts, Colour colour, Vor::Ptr<Vor::Entity const> const & socket ) {
      return memberIs( name, watts, colour, socket );
   }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &LampDir::name>, Vor::Collection<
                                             "lamp", &LampDir::members, nullptr, &LampDir::memberDel, NotifieeConst,
                                             Vor::Name const &, &NotifieeConst::onLamp, &NotifieeConst::onLamp>>;
};

Vor::Ptr<LampDir> lampDirFactory( Vor::Name name );

/// What observers were told, in order.
using Story = std::vector<std::string>;

/// Writes down every callback, and then does what the test wants done.
class LampWatch : public Lamp::NotifieeConst {
 public:
   LampWatch( Story & story, std::string name, Vor::Ptr<Lamp const> const & lamp = nullptr )
      : story_( story ), name_( std::move( name ) ) {
      vorAttach( lamp );
   }
   void onBrightness() override { tell( "brightness " + std::to_string( notifier()->brightness() ) ); }
   void onLit() override { tell( notifier()->lit() ? "lit" : "unlit" ); }
   void onNotes( U32 key ) override { tell( "note " + std::to_string( key ) ); }
   void onNotes() override { tell( "all notes" ); }

   std::function<void()> then;

 private:
   void tell( std::string const & what ) {
      story_.push_back( name_ + ": " + what );
      // A copy: what it does may be to drop this observer.
      if ( auto const next = then ) next();
   }
   Story & story_;
   std::string const name_;
};

/// A type on top of another entity type, with observers of its own on top of those of its base.
class DimmedLamp final : public Vor::EntityOf<DimmedLamp, Lamp> {
 public:
   explicit DimmedLamp( Vor::Name name ) : EntityOf( name, 40u, white_, nullptr ) {}
   struct NotifieeConst : NotifieeConstBase {
      virtual void onDimmer() {}
   };
   U32 dimmer() const { return dimmer_; }
   void dimmerIs( U32 dimmer ) { attributeIs<"dimmer">( dimmer_, dimmer ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::AttributesThen<
      Lamp::Attributes,
      Vor::Changeable<"dimmer", &DimmedLamp::dimmer, &DimmedLamp::dimmerIs, &NotifieeConst::onDimmer>>;

 private:
   U32 dimmer_ = 0;
};

/// Writes down every change of any entity.
class EntityWatch : public Vor::EntityObserver {
 public:
   EntityWatch( Story & story, std::string name, Vor::Ptr<Vor::Entity const> const & entity = nullptr )
      : story_( story ), name_( std::move( name ) ) {
      vorAttach( entity );
   }
   void onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & key ) override {
      std::string text = name_ + ": " + entity.name().charPtr() + "." + std::string( attribute.name );
      if ( key.index() != 0 ) text += "[" + Vor::valueText( key ).stdString() + "]";
      story_.push_back( text );
      if ( auto const next = then ) next();
   }

   std::function<void()> then;

 private:
   Story & story_;
   std::string const name_;
};

}   // namespace Test
