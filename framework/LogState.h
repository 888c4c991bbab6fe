// The state that the entries of a log add up to: each entity with its creation and the latest value of each attribute
// and key. What a log keeps to give snapshots from.
//
//    Vor::LogState state;
//    state.turnIs( turn );
//    state.snapshot( batch );
#pragma once

#include "framework/AttributeLog.h"
#include "framework/HashMap.h"

#include <list>
#include <string>

namespace Vor {

class LogState {
 public:
   /// Adds a turn; a whole one takes the place of what is there.
   void turnIs( LogTurn const & turn );
   /// Adds an entry; what is said of an entity that is not there is passed over.
   void entryIs( LogEntry const & entry );
   void clear();

   /// Puts the creations into the batch, in the order in which they came, and then the values: so each reference finds
   /// its entity.
   void snapshot( LogBatch & into ) const;

 private:
   struct Change {
      std::string attribute;
      std::string key;
      std::string value;
   };
   using Changes = std::list<Change>;
   struct Held {
      std::string name;
      std::string type;
      std::string attribute;
      std::string value;
      Changes changes;
      ByText<Changes::iterator> byAttributeAndKey;
   };

   std::list<Held> held_;
   ByText<std::list<Held>::iterator> byName_;
   std::string place_;   // keeps its room
};

}   // namespace Vor
