#include "framework/LinkQueue.h"

#include <algorithm>

namespace Vor {

namespace {

[[noreturn]] void throwFull() { throw RangeException( "linkqueue index space full" ); }

auto at( auto & slots, std::size_t place ) { return slots.begin() + static_cast<std::ptrdiff_t>( place ); }

}   // namespace

LinkQueueBase::Link * LinkQueueBase::head() const { return empty() ? nullptr : headPlace().slot().element.ptr(); }

LinkQueueBase::Link * LinkQueueBase::tail() const {
   return empty() ? nullptr : blocks_.rbegin()->second.slots.back().element.ptr();
}

std::vector<U32> LinkQueueBase::keys() const {
   std::vector<U32> keys;
   keys.reserve( count_ );
   for ( auto const & [lowest, block] : blocks_ )
      for ( auto slot = at( block.slots, block.first ); slot != block.slots.end(); ++slot )
         keys.push_back( slot->index );
   return keys;
}

LinkQueueBase::Place LinkQueueBase::placeOf( U32 index ) const {
   if ( empty() || headPlace().slot().index >= index ) return headPlace();
   auto block = std::prev( blocks().end() );
   if ( block->first > index ) block = std::prev( blocks().upper_bound( index ) );
   Slots const & slots = block->second.slots;
   if ( slots.back().index < index ) return { block, slots.size() };
   auto const found =
      std::lower_bound( at( slots, block->second.first ), slots.end(), index, []( Slot const & slot, U32 sought ) {
         return slot.index < sought;
      } );
   return { block, static_cast<std::size_t>( found - slots.begin() ) };
}

U32 LinkQueueBase::indexToAssign() const {
   U32 index = nextIndex_;
   Link const * const last = tail();
   if ( last && last->index() >= index ) index = last->index() + 1;
   // Nothing stands behind the last one: only an index that came round can be taken.
   if ( last && index <= last->index() && linkAt( placeOf( index ), index ) ) throwFull();
   return index;
}

void LinkQueueBase::linkIn( Place place, Ptr<Link> const & link ) {
   U32 const index = link->index();
   U32 const next = index < nextIndex_ ? nextIndex_ : index + 1;
   if ( !empty() && next == headPlace().slot().index ) throwFull();
   placeIn( place, { index, link } );
   nextIndex_ = next;
   ++count_;
   ++edits_;
}

void LinkQueueBase::placeIn( Place place, Slot slot ) {
   if ( empty() ) {
      blocks_.emplace( 0, Block{ { std::move( slot ) } } );
      return;
   }
   auto & [slots, first] = place.block->second;
   if ( slots.size() == blockMax && place.atEndOfBlock() && std::next( place.block ) == blocks_.end() ) {
      Slots tail;
      tail.reserve( blockMax );
      U32 const index = slot.index;
      tail.push_back( std::move( slot ) );
      blocks_.emplace_hint( blocks_.end(), index, Block{ std::move( tail ) } );
      return;
   }
   if ( slots.size() == blockMax && first > 0 ) {
      slots.erase( slots.begin(), at( slots, first ) );
      place.at -= std::exchange( first, 0 );
   }
   if ( slots.size() == blockMax ) {
      auto const middle = at( slots, blockMax / 2 );
      U32 const index = middle->index;
      auto const upper = blocks_.emplace_hint( std::next( place.block ), index, Block{ { middle, slots.end() } } );
      slots.erase( middle, slots.end() );
      if ( slot.index > index ) {
         Slots & above = upper->second.slots;
         above.insert( at( above, place.at - blockMax / 2 ), std::move( slot ) );
         return;
      }
   }
   slots.insert( at( slots, place.at ), std::move( slot ) );
}

bool LinkQueueBase::valueDel( U32 index ) {
   Place const place = placeOf( index );
   if ( !linkAt( place, index ) ) return false;
   auto & [slots, first] = place.block->second;
   if ( place.at == first )
      slots[first++].element = nullptr;
   else
      slots.erase( at( slots, place.at ) );
   if ( first == slots.size() ) {
      // The first block reaches down to index 0: it takes over the elements of the next.
      auto emptied = place.block;
      if ( emptied == blocks_.begin() && blocks_.size() > 1 ) place.block->second = std::move( ( ++emptied )->second );
      blocks_.erase( emptied );
   }
   --count_;
   ++edits_;
   return true;
}

}   // namespace Vor
