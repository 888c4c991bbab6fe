#include "framework/LogState.h"

namespace Vor {

void LogState::turnIs( LogTurn const & turn ) {
   if ( turn.whole ) clear();
   for ( LogEntry const & entry : turn.batch ) entryIs( entry );
}

void LogState::clear() {
   byName_.clear();
   held_.clear();
}

void LogState::entryIs( LogEntry const & entry ) {
   auto const found = byName_.find( entry.entity );
   bool const isNew = entry.kind == LogEntry::Kind::create;
   if ( found != byName_.end() && ( isNew || entry.kind == LogEntry::Kind::remove ) ) {
      held_.erase( found->second );
      byName_.erase( found );
   }
   if ( isNew ) {
      std::string name( entry.entity );
      byName_[name] = held_.insert(
         held_.end(),
         { name, std::string( entry.type ), std::string( entry.attribute ), std::string( entry.value ), {}, {} } );
      return;
   }
   if ( found == byName_.end() || entry.kind == LogEntry::Kind::remove ) return;

   Held & held = *found->second;
   place_.assign( entry.attribute ).push_back( '\0' );
   place_.append( entry.key );
   auto const there = held.byAttributeAndKey.find( place_ );
   if ( entry.kind == LogEntry::Kind::erase ) {
      if ( there == held.byAttributeAndKey.end() ) return;
      held.changes.erase( there->second );
      held.byAttributeAndKey.erase( there );
   } else if ( there != held.byAttributeAndKey.end() )
      there->second->value = entry.value;
   else
      held.byAttributeAndKey[place_] = held.changes.insert(
         held.changes.end(), { std::string( entry.attribute ), std::string( entry.key ), std::string( entry.value ) } );
}

void LogState::snapshot( LogBatch & into ) const {
   into.clear();
   for ( Held const & held : held_ )
      into.entryAdd(
         { .kind = LogEntry::Kind::create,
           .entity = held.name,
           .type = held.type,
           .attribute = held.attribute,
           .value = held.value } );
   for ( Held const & held : held_ )
      for ( Change const & change : held.changes )
         into.entryAdd(
            { .kind = LogEntry::Kind::change,
              .entity = held.name,
              .attribute = change.attribute,
              .key = change.key,
              .value = change.value } );
}

}   // namespace Vor
