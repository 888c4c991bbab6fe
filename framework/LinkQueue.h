// An ordered queue keyed by an unsigned 32-bit index.
//
// Rules: elements stand in the order of their indexes. The next-index counter starts at 0; linking an element in at an
// index not below it moves it to that index plus 1, so that an index is not assigned again after its element has gone.
// An enqueue takes the counter, or the tail's index plus 1 where the tail is not below the counter. The index space is
// used up when the counter after linking in would come round to the head's index, or when the index to assign is
// taken: that fails with "linkqueue index space full" and changes nothing. Replacing the value at an index in use
// neither moves the counter nor can it fail.
//
// Cost: enqueue and dequeue O(1), all else by index O(log n); a step of a walk O(1), after a change of the queue
// O(log n). An empty queue allocates nothing. An element is a small shared object, so that a reader may keep one that
// has left the queue.
//
// A walk survives any change of the queue: it goes on at the first element behind the one it stands on. Following or
// advancing one that has come to the end stops the process.
#pragma once

#include "framework/Exception.h"
#include "framework/PtrInterface.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

namespace Vor {

template<class V> class LinkQueue {
 public:
   using Key = U32;

   class Element final : public PtrInterface {
    public:
      Element( U32 index, V const & value ) : index_( index ), value_( value ) {}
      U32 index() const { return index_; }
      V const & value() const { return value_; }

    private:
      friend LinkQueue;
      U32 const index_;
      V value_;
   };

 private:
   struct Slot {
      U32 index;   // that of the element: a search needs not follow the pointers
      Ptr<Element> element;
   };
   using Slots = std::vector<Slot>;
   // A run of elements. Those before `first` have been taken away: the head is what mostly is.
   struct Block {
      Slots slots;
      std::size_t first = 0;
   };
   // By the lowest index that a block may hold: each reaches up to the next, and the first one's is 0. None is empty.
   using Blocks = std::map<U32, Block>;
   // In the block that an index belongs to, the first element at or behind the index, or the block's end.
   struct Place {
      typename Blocks::iterator block;
      std::size_t at = 0;

      Slot & slot() const { return block->second.slots[at]; }
      bool atEndOfBlock() const { return at == block->second.slots.size(); }
   };

 public:
   class Iterator {
    public:
      using value_type = Element;
      using difference_type = std::ptrdiff_t;

      Element const & operator*() const { return *element_; }
      Element const * operator->() const { return &**this; }
      Iterator & operator++() {
         U32 const index = element_->index();
         if ( edits_ != queue_->edits_ ) place_ = queue_->placeOf( index );
         if ( queue_->taken( place_, index ) ) ++place_.at;
         settle();
         return *this;
      }
      bool operator==( std::default_sentinel_t ) const { return !element_; }

    private:
      friend LinkQueue;
      Iterator( LinkQueue const & queue, Place place ) : queue_( &queue ), place_( place ) { settle(); }
      void settle() {
         edits_ = queue_->edits_;
         element_ = nullptr;
         if ( queue_->empty() ) return;
         if ( place_.atEndOfBlock() ) {
            if ( ++place_.block == queue_->blocks_.end() ) return;
            place_.at = place_.block->second.first;
         }
         element_ = place_.slot().element;
      }

      LinkQueue const * queue_;
      U64 edits_ = 0;   // of the queue, when the place was found
      Place place_;
      Ptr<Element const> element_;
   };

   Iterator begin() const { return Iterator( *this, headPlace() ); }
   std::default_sentinel_t end() const { return {}; }
   std::size_t count() const { return count_; }
   bool empty() const { return blocks_.empty(); }
   U32 nextIndex() const { return nextIndex_; }
   /// The element of the lowest index, empty when the queue is.
   Ptr<Element const> head() const { return empty() ? nullptr : headPlace().slot().element; }
   Ptr<Element const> tail() const { return empty() ? nullptr : last().element; }
   Ptr<Element const> element( U32 index ) const {
      Place const place = placeOf( index );
      return taken( place, index ) ? place.slot().element : nullptr;
   }
   /// The value at the index, a default one where there is none.
   V value( U32 index ) const {
      Ptr<Element const> const found = element( index );
      return found ? found->value() : V();
   }
   std::vector<U32> keys() const {
      std::vector<U32> keys;
      for ( auto const & element : *this ) keys.push_back( element.index() );
      return keys;
   }

   /// Appends; gives the index assigned. Throws RangeException when the index space is used up.
   U32 enq( V const & value ) {
      U32 index = nextIndex_;
      if ( !empty() && last().index >= index ) index = last().index + 1;
      Place const place = placeOf( index );
      if ( taken( place, index ) ) throwFull();
      linkIn( place, index, value );
      return index;
   }
   /// Places a value at the index, in place of one that is there. Throws as enq does.
   void valueIs( U32 index, V const & value ) {
      Place const place = placeOf( index );
      if ( taken( place, index ) )
         place.slot().element->value_ = value;
      else
         linkIn( place, index, value );
   }
   /// Removes the element at the index; false where there is none.
   bool valueDel( U32 index ) {
      Place const place = placeOf( index );
      if ( !taken( place, index ) ) return false;
      unlink( place );
      return true;
   }

 private:
   // A full block is split. Of larger ones the allocator takes its slow path, smaller ones deepen the map.
   static constexpr std::size_t blockMax = 64;

   [[noreturn]] static void throwFull() { throw RangeException( "linkqueue index space full" ); }

   // Places are for readers and writers alike.
   Blocks & blocks() const { return const_cast<Blocks &>( blocks_ ); }
   Place headPlace() const { return { blocks().begin(), empty() ? 0 : blocks_.begin()->second.first }; }
   Slot const & last() const { return blocks_.rbegin()->second.slots.back(); }
   Place placeOf( U32 index ) const {
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
   bool taken( Place place, U32 index ) const {
      return !empty() && !place.atEndOfBlock() && place.slot().index == index;
   }
   static auto at( auto & slots, std::size_t place ) { return slots.begin() + static_cast<std::ptrdiff_t>( place ); }

   void linkIn( Place place, U32 index, V const & value ) {
      U32 const next = index < nextIndex_ ? nextIndex_ : index + 1;
      if ( !empty() && next == headPlace().slot().index ) throwFull();
      placeIn( place, { index, new Element( index, value ) } );
      nextIndex_ = next;
      ++count_;
      ++edits_;
   }

   void placeIn( Place place, Slot slot ) {
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

   void unlink( Place place ) {
      auto & [slots, first] = place.block->second;
      if ( place.at == first )
         slots[first++].element = nullptr;
      else
         slots.erase( at( slots, place.at ) );
      if ( first == slots.size() ) {
         // The first block reaches down to index 0: it takes over the elements of the next.
         auto emptied = place.block;
         if ( emptied == blocks_.begin() && blocks_.size() > 1 )
            place.block->second = std::move( ( ++emptied )->second );
         blocks_.erase( emptied );
      }
      --count_;
      ++edits_;
   }

   Blocks blocks_;
   std::size_t count_ = 0;
   U64 edits_ = 0;   // elements linked in and removed so far
   U32 nextIndex_ = 0;
};

}   // namespace Vor
