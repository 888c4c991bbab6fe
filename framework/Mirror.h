// Entities that are made and changed as a log says: through the factories of their types and their public setters, so
// that whoever observes them is told as if the changes were made here. A mirror only reads.
//
//    Vor::Mirror mirror( []( Vor::String const & text ) { std::cerr << text << '\n'; } );
//    LogBatch batch;
//    LogPosition at = source.snapshot( batch );
//    mirror.snapshotIs( batch );
//    Vor::Ptr<Vor::Entity> const status = mirror.entity( "/hardware/max24305/status/ptp0" );
//
// A type or an attribute that this release does not know, or knows otherwise, is skipped, and told once: two
// supervisors are upgraded one after the other. An entity whose parent is not in the log has none here.
//
// On the thread of its entities.
#pragma once

#include "framework/AttributeLog.h"
#include "framework/Entity.h"

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace Vor {

class Mirror {
 public:
   using Tell = std::function<void( String const & text )>;
   /// Makes an entity of that name, for a type that has no factory here, such as a handle's.
   using Maker = std::function<Ptr<Entity>( Name const & name )>;

   explicit Mirror( Tell tell );
   ~Mirror();
   Mirror( Mirror const & ) = delete;
   Mirror & operator=( Mirror const & ) = delete;

   void makerIs( std::string_view type, Maker maker );

   /// Makes the mirror what the snapshot says: entities that are there stay, and what is equal is silent. Throws
   /// LogFormatException, as turn does.
   void snapshotIs( LogBatch const & all );
   /// Applies a turn. Throws LogFormatException, which names the place of the entry and the cause; the entries before
   /// it are applied then, and it has changed nothing.
   void turn( LogBatch const & batch );

   /// Empty where there is none.
   Ptr<Entity> entity( std::string_view fullName ) const;
   /// In the order in which they came.
   std::vector<Ptr<Entity>> entities() const;

 private:
   struct State;
   std::unique_ptr<State> const state_;
};

}   // namespace Vor
