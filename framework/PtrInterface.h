// The base of every shared object, and the counted pointer to one.
//
// Ownership: an object starts with count 0, lives from its first Ptr to its last, and is destroyed by its
// zero-reference handler. A Ptr taken to `this` inside a constructor is therefore both the first and the last: it
// destroys the object. Constructors hand out plain back-pointers instead.
//
// Threads: counts are plain unless `threadSafePtrsIs( true )` was called; then they are atomic. The switch is
// process-wide and is thrown before a second thread shares an object.
//
//    class Thing : public Vor::PtrInterface {};
//    Vor::Ptr<Thing> thing = new Thing;      // count 1
//    Vor::Ptr<Thing const> reader = thing;   // count 2, read-only
#pragma once

#include "framework/Types.h"

#include <atomic>
#include <cstddef>
#include <string_view>   // std::hash
#include <type_traits>
#include <utility>

namespace Vor {

class NotifieeList;
class Type;

/// Whether counts are atomic. Off at start.
bool threadSafePtrs();
/// Throws the process-wide switch; no other thread may be using a Ptr meanwhile.
void threadSafePtrsIs( bool threadSafe );

namespace Detail {
extern std::atomic<bool> threadSafePtrsSwitch;
[[noreturn]] void nullPtrFollowed( char const * signature );
}   // namespace Detail

class PtrInterface {
 public:
   PtrInterface( PtrInterface const & ) = delete;
   PtrInterface & operator=( PtrInterface const & ) = delete;
   virtual ~PtrInterface() = default;

   /// The observers of this object, null where the type has none.
   virtual NotifieeList * notifieeList() const { return nullptr; }

   /// Switches notification delivery on or off, for types that receive any.
   virtual void hasNotificationActiveIs( bool ) {}

   /// The zero-reference handler: runs when the last Ptr is dropped, and destroys the object.
   virtual void zeroReferencesIs( bool );

   /// The type's descriptor; of a type without one, the descriptor of PtrInterface.
   virtual Type const & fwkType() const;

   /// How many Ptrs hold this object. Negative from the moment of its destruction on, and while it is a zombie.
   S32 references() const { return references_.load( std::memory_order_relaxed ); }

   /// True once the object is being torn down: its handlers must not run any more.
   bool vorZombie() const { return references() < 0; }
   /// Marks the object as a zombie, or takes the mark away; the count proper is kept.
   void vorZombieIs( bool zombie );

   void vorReferencesInc() const { vorReferencesAdd( 1 ); }
   void vorReferencesDec() const {
      S32 const left = vorReferencesAdd( -1 );
      if ( left == 0 || left == zombieBias ) const_cast<PtrInterface *>( this )->zeroReferencesIs( true );
   }

   /// Set by the tracked allocator: destruction is then recorded against fwkType().
   void vorAllocationTrackedIs( bool tracked ) { allocationTracked_ = tracked; }

   static Type const & staticType();

 protected:
   PtrInterface() = default;

 private:
   S32 vorReferencesAdd( S32 delta ) const {
      if ( Detail::threadSafePtrsSwitch.load( std::memory_order_relaxed ) )
         return references_.fetch_add( delta, std::memory_order_acq_rel ) + delta;
      S32 const sum = references_.load( std::memory_order_relaxed ) + delta;
      references_.store( sum, std::memory_order_relaxed );
      return sum;
   }

   // A zombie counts from far below zero; an object in its destructor from so far below that no Ptr made and dropped
   // there can bring it back to either zero.
   static constexpr S32 zombieBias = -( 1 << 29 );
   static constexpr S32 destroyedBias = -( 1 << 30 );

   mutable std::atomic<S32> references_{ 0 };
   bool allocationTracked_ = false;
};

/// Counted reference; `Ptr<T const>` gives read-only access. Following an empty one stops the process.
template<class T> class Ptr {
 public:
   using Pointee = T;

   Ptr() = default;
   Ptr( std::nullptr_t ) {}
   Ptr( T * object ) : object_( object ) { inc(); }
   Ptr( Ptr const & other ) : object_( other.object_ ) { inc(); }
   Ptr( Ptr && other ) noexcept : object_( std::exchange( other.object_, nullptr ) ) {}
   template<class U>
   requires std::is_convertible_v<U *, T *> Ptr( Ptr<U> const & other ) : object_( other.ptr() ) { inc(); }
   ~Ptr() { dec( object_ ); }

   Ptr & operator=( Ptr other ) noexcept {
      std::swap( object_, other.object_ );
      return *this;
   }

   T * ptr() const { return object_; }
   T * operator->() const { return &**this; }
   T & operator*() const {
      if ( !object_ ) [[unlikely]]
         Detail::nullPtrFollowed( __PRETTY_FUNCTION__ );
      return *object_;
   }
   explicit operator bool() const { return object_ != nullptr; }

   /// Whether both point to one object, whichever of its bases they see it as.
   template<class U> bool operator==( Ptr<U> const & other ) const { return object_ == other.ptr(); }
   bool operator==( std::nullptr_t ) const { return object_ == nullptr; }

 private:
   void inc() const {
      if ( object_ ) object_->vorReferencesInc();
   }
   static void dec( T * object ) {
      if ( object ) object->vorReferencesDec();
   }

   T * object_ = nullptr;
};

/// The object seen as a `To` when it is one, else empty.
template<class To, class From> Ptr<To> ptrCast( Ptr<From> const & from ) {
   return Ptr<To>( dynamic_cast<To *>( from.ptr() ) );
}

}   // namespace Vor

template<class T> struct std::hash<Vor::Ptr<T>> {
   std::size_t operator()( Vor::Ptr<T> const & ptr ) const { return std::hash<T *>()( ptr.ptr() ); }
};
