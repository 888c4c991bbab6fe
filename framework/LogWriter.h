// Gathers the changes of published entities, as the batches that a log's turns are made of. What of an entity is
// written, in which order and as what follows from its type's attribute list.
//
//    Vor::LogWriter writer;
//    writer.entityAdd( ham );                     // before those that refer to it
//    writer.entityAdd( configDir );               // with its members, also those that come later
//    ...
//    if ( !writer.turn().empty() ) {
//       logThread.turn( writer.turn() );          // at the end of a turn of the loop
//       writer.turnDone();
//    }
//
// On the thread of the entities. It holds what it publishes. An entity that is not published costs nothing, a scalar
// change of a published one allocates nothing once the batch has its room.
#pragma once

#include "framework/AttributeLog.h"
#include "framework/Entity.h"

#include <memory>

namespace Vor {

class LogWriter {
 public:
   LogWriter();
   ~LogWriter();
   LogWriter( LogWriter const & ) = delete;
   LogWriter & operator=( LogWriter const & ) = delete;

   /// Publishes an entity as it is, and its changes from now on; of a directory the members too, and parents that are
   /// plain entities and only give it its place. Silent where it is published already. A reference to an entity that is
   /// not published yet travels as none. Throws NameInUseException where another of its full name is published.
   void entityAdd( Ptr<Entity const> const & entity );
   /// It has gone, and its members, for readers; silent where it is not published.
   void entityDel( Ptr<Entity const> const & entity );

   /// The changes since the last turn was done.
   LogBatch const & turn() const;
   void turnDone();

   /// Everything as it is now, in place of what stands in `into`: in the order in which it was published, but each
   /// entity behind its parent and what it refers to, also where that was published later.
   void whole( LogBatch & into ) const;

 private:
   struct Published;
   struct State;
   std::unique_ptr<State> const state_;
};

}   // namespace Vor
