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

#include <map>
#include <vector>

namespace Vor {

/// What a queue is whatever its values.
class LinkQueueBase {
 public:
   class Link : public PtrInterface {
    public:
      explicit Link( U32 index ) : index_( index ) {}
      U32 index() const { return index_; }

    private:
      U32 const index_;
   };

   std::size_t count() const { return count_; }
   bool empty() const { return blocks_.empty(); }
   U32 nextIndex() const { return nextIndex_; }
   std::vector<U32> keys() const;

   /// Removes the element at the index; false where there is none.
   bool valueDel( U32 index );

 private:
   struct Slot {
      U32 index;   // that of the element: a search needs not follow the pointers
      Ptr<Link> element;
   };
   using Slots = std::vector<Slot>;
   // A run of elements. Those before `first` have been taken away: the head is what mostly is.
   struct Block {
      Slots slots;
      std::size_t first = 0;
   };
   // By the lowest index that a block may hold: each reaches up to the next, and the first one's is 0. None is empty.
   using Blocks = std::map<U32, Block>;

 protected:
   // In the block that an index belongs to, the first element at or behind the index, or the block's end.
   struct Place {
      Blocks::iterator block;
      std::size_t at = 0;

      Slot & slot() const { return block->second.slots[at]; }
      bool atEndOfBlock() const { return at == block->second.slots.size(); }
   };

   class Walk {
    public:
      Walk & operator++() {
         U32 const index = link_->index();
         if ( edits_ != queue_->edits_ ) place_ = queue_->placeOf( index );
         if ( queue_->linkAt( place_, index ) ) ++place_.at;
         settle();
         return *this;
      }
      bool operator==( std::nullptr_t ) const { return !link_; }

    protected:
      explicit Walk( LinkQueueBase const & queue ) : queue_( &queue ), place_( queue.headPlace() ) { settle(); }
      Ptr<Link const> const & link() const { return link_; }

    private:
      void settle() {
         edits_ = queue_->edits_;
         link_ = nullptr;
         if ( queue_->empty() ) return;
         if ( place_.atEndOfBlock() ) {
            if ( ++place_.block == queue_->blocks_.end() ) return;
            place_.at = place_.block->second.first;
         }
         link_ = place_.slot().element;
      }

      LinkQueueBase const * queue_;
      U64 edits_ = 0;   // of the queue, when the place was found
      Place place_;
      Ptr<Link const> link_;
   };

   Link * head() const;
   Link * tail() const;
   Place placeOf( U32 index ) const;
   /// The element of the index at its place, null where there is none.
   Link * linkAt( Place place, U32 index ) const {
      return !empty() && !place.atEndOfBlock() && place.slot().index == index ? place.slot().element.ptr() : nullptr;
   }
   /// The index that an enqueue takes. Throws RangeException when the index space is used up.
   U32 indexToAssign() const;
   /// Throws as indexToAssign does.
   void linkIn( Place place, Ptr<Link> const & link );

 private:
   // A full block is split. Of larger ones the allocator takes its slow path, smaller ones deepen the map.
   static constexpr std::size_t blockMax = 64;

   // Places are for readers and writers alike.
   Blocks & blocks() const { return const_cast<Blocks &>( blocks_ ); }
   Place headPlace() const { return { blocks().begin(), empty() ? 0 : blocks_.begin()->second.first }; }
   void placeIn( Place place, Slot slot );

   Blocks blocks_;
   std::size_t count_ = 0;
   U64 edits_ = 0;   // elements linked in and removed so far
   U32 nextIndex_ = 0;
};

template<class V> class LinkQueue : public LinkQueueBase {
 public:
   using Key = U32;

   class Element final : public Link {
    public:
      Element( U32 index, V const & value ) : Link( index ), value_( value ) {}
      V const & value() const { return value_; }

    private:
      friend LinkQueue;
      V value_;
   };

   class Iterator : public Walk {
    public:
      Element const & operator*() const { return static_cast<Element const &>( *link() ); }
      Element const * operator->() const { return &**this; }
      Iterator & operator++() {
         Walk::operator++();
         return *this;
      }

    private:
      friend LinkQueue;
      using Walk::Walk;
   };

   Iterator begin() const { return Iterator( *this ); }
   std::nullptr_t end() const { return nullptr; }
   /// The element of the lowest index, empty when the queue is.
   Ptr<Element const> head() const { return asElement( LinkQueueBase::head() ); }
   Ptr<Element const> tail() const { return asElement( LinkQueueBase::tail() ); }
   Ptr<Element const> element( U32 index ) const { return asElement( linkAt( placeOf( index ), index ) ); }
   bool has( U32 index ) const { return linkAt( placeOf( index ), index ) != nullptr; }
   /// The value at the index, a default one where there is none.
   V value( U32 index ) const {
      Ptr<Element const> const found = element( index );
      return found ? found->value() : V();
   }

   /// Appends; gives the index assigned. Throws RangeException when the index space is used up.
   U32 enq( V const & value ) {
      U32 const index = indexToAssign();
      linkIn( placeOf( index ), new Element( index, value ) );
      return index;
   }
   /// Places a value at the index, in place of one that is there. Throws as enq does.
   void valueIs( U32 index, V const & value ) {
      Place const place = placeOf( index );
      if ( Element * const there = asElement( linkAt( place, index ) ) )
         there->value_ = value;
      else
         linkIn( place, new Element( index, value ) );
   }

 private:
   static Element * asElement( Link * link ) { return static_cast<Element *>( link ); }
};

}   // namespace Vor
