// An ordered queue keyed by an unsigned 32-bit index.
//
// Rules: elements stand in the order of their indexes. The next-index counter starts at 0; linking an element in at an
// index not below it moves it to that index plus 1, so that an index is not assigned again after its element has gone.
// An enqueue takes the counter, or the tail's index plus 1 where the tail is not below the counter. The index space is
// used up when the counter after linking in would come round to the head's index, or when the index to assign is
// taken: that fails with "linkqueue index space full" and changes nothing. Replacing the value at an index in use
// neither moves the counter nor can it fail.
//
// Cost: enqueue and dequeue O(1), look-up O(log n), linking in or removal elsewhere O(n) in pointer moves. An element
// is a small shared object, so that a reader may keep one that has left the queue.
//
// A walk survives any change of the queue: it goes on at the first element behind the one it stands on.
#pragma once

#include "framework/Exception.h"
#include "framework/PtrInterface.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <optional>
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

   class Iterator {
    public:
      using value_type = Element;
      using difference_type = std::ptrdiff_t;

      Element const & operator*() const { return *element_; }
      Element const * operator->() const { return element_.ptr(); }
      Iterator & operator++() {
         *this = Iterator( *queue_, queue_->placeBehind( place_, element_->index() ) );
         return *this;
      }
      bool operator==( std::default_sentinel_t ) const { return !element_; }

    private:
      friend LinkQueue;
      Iterator( LinkQueue const & queue, std::size_t place ) : queue_( &queue ), place_( place ) {
         if ( place < queue.elements_.size() ) element_ = queue.elements_[place];
      }
      LinkQueue const * queue_;
      std::size_t place_;   // where the element stood when the iterator came to it
      Ptr<Element const> element_;
   };

   Iterator begin() const { return Iterator( *this, 0 ); }
   std::default_sentinel_t end() const { return {}; }
   std::size_t count() const { return elements_.size(); }
   bool empty() const { return elements_.empty(); }
   U32 nextIndex() const { return nextIndex_; }
   /// The element of the lowest index, empty when the queue is.
   Ptr<Element const> head() const { return empty() ? nullptr : elements_.front(); }
   Ptr<Element const> tail() const { return empty() ? nullptr : elements_.back(); }
   Ptr<Element const> element( U32 index ) const {
      auto const place = placeOf( index );
      return taken( place, index ) ? elements_[place] : nullptr;
   }
   /// The value at the index, a default one where there is none.
   V value( U32 index ) const {
      Ptr<Element const> const found = element( index );
      return found ? found->value() : V();
   }
   std::vector<U32> keys() const {
      std::vector<U32> keys;
      for ( auto const & element : elements_ ) keys.push_back( element->index() );
      return keys;
   }

   /// Appends; gives the index assigned. Throws RangeException when the index space is used up.
   U32 enq( V const & value ) {
      U32 const index =
         !empty() && elements_.back()->index() >= nextIndex_ ? elements_.back()->index() + 1 : nextIndex_;
      auto const place = placeOf( index );
      if ( taken( place, index ) ) throwFull();
      linkIn( place, index, value );
      return index;
   }
   /// Places a value at the index, in place of one that is there. Throws as enq does.
   void valueIs( U32 index, V const & value ) {
      auto const place = placeOf( index );
      if ( taken( place, index ) )
         elements_[place]->value_ = value;
      else
         linkIn( place, index, value );
   }
   /// Removes the element at the index; false where there is none.
   bool valueDel( U32 index ) {
      auto const place = placeOf( index );
      if ( !taken( place, index ) ) return false;
      elements_.erase( elements_.begin() + static_cast<std::ptrdiff_t>( place ) );
      return true;
   }

 private:
   [[noreturn]] static void throwFull() { throw RangeException( "linkqueue index space full" ); }

   /// The place of the first element at or behind the index.
   std::size_t placeOf( U32 index ) const {
      if ( empty() || elements_.back()->index() < index ) return elements_.size();
      if ( elements_.front()->index() >= index ) return 0;
      auto const found =
         std::ranges::lower_bound( elements_, index, {}, []( auto const & element ) { return element->index(); } );
      return static_cast<std::size_t>( found - elements_.begin() );
   }
   bool taken( std::size_t place, U32 index ) const {
      return place < elements_.size() && elements_[place]->index() == index;
   }
   std::size_t placeBehind( std::size_t place, U32 index ) const {
      if ( taken( place, index ) ) return place + 1;
      place = placeOf( index );
      return taken( place, index ) ? place + 1 : place;
   }

   void linkIn( std::size_t place, U32 index, V const & value ) {
      U32 const next = index < nextIndex_ ? nextIndex_ : index + 1;
      if ( !empty() && next == elements_.front()->index() ) throwFull();
      elements_.insert( elements_.begin() + static_cast<std::ptrdiff_t>( place ), new Element( index, value ) );
      nextIndex_ = next;
   }

   std::deque<Ptr<Element>> elements_;
   U32 nextIndex_ = 0;
};

}   // namespace Vor
