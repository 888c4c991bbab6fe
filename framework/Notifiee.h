// Observers and the list an observed object keeps of them.
//
// Contract of a visit: members are called in the order in which they joined, on the changing thread. While a visit
// runs a member may leave or make others leave (they are not called any more), join or make others join (they wait
// for the next change), destroy itself or others, and change the observed object again (a nested visit). Joining and
// leaving cost O(1) and allocate nothing. The owner of the list is held by its visitor for the length of the visit.
//
// Only live members are called: a zombie, whose owner is being torn down, and a member whose notification is switched
// off are passed over here, so that no handler has to ask.
//
// An observer holds its notifier by a counted pointer and leaves it when it is destroyed.
#pragma once

#include "framework/PtrInterface.h"

namespace Vor {

class NotifieeBase;

class NotifieeList {
 public:
   NotifieeList() = default;
   NotifieeList( NotifieeList const & ) = delete;
   NotifieeList & operator=( NotifieeList const & ) = delete;
   ~NotifieeList();

   bool empty() const { return !head_; }
   void newMember( NotifieeBase & member );
   void deleteMember( NotifieeBase & member );
   template<class Callback> void doVisit( Callback && callback );

 private:
   // A visit in progress. Removal of a member moves every visit that was about to step on it.
   struct Visit {
#if defined( __GNUC__ ) && !defined( __clang__ )
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"   // the destructor takes the pointer back; g++ 12 overlooks that
#endif
      explicit Visit( NotifieeList & visited )
         : list( visited ), next( visited.head_ ), last( visited.tail_ ), outer( visited.visit_ ) {
         list.visit_ = this;
      }
#if defined( __GNUC__ ) && !defined( __clang__ )
#pragma GCC diagnostic pop
#endif
      Visit( Visit const & ) = delete;
      Visit & operator=( Visit const & ) = delete;
      ~Visit() { list.visit_ = outer; }

      NotifieeList & list;
      NotifieeBase * next;
      NotifieeBase * last;   // members that join later stand behind it
      bool moved = false;    // the one that was next has left
      Visit * outer;
   };

   NotifieeBase * head_ = nullptr;
   NotifieeBase * tail_ = nullptr;
   Visit * visit_ = nullptr;   // innermost
};

/// What every observer is: a member of at most one list, that of its notifier.
class NotifieeBase : public PtrInterface {
 public:
   ~NotifieeBase() override;

   PtrInterface const * vorNotifier() const { return notifier_.ptr(); }

   /// Leaves the present notifier and joins the new one; a null pointer only leaves, the same notifier does nothing.
   virtual void notifierIs( Ptr<PtrInterface const> const & notifier );

   /// Whether a notifier's changes are delivered; taking it away leaves the list, giving it back joins at its end.
   bool isRegisteredNotifiee() const { return registered_; }
   void isRegisteredNotifieeIs( bool registered );

   bool hasNotificationActive() const { return notificationActive_; }
   void hasNotificationActiveIs( bool active ) override { notificationActive_ = active; }

   /// Whether handlers may run.
   bool vorLive() const { return notificationActive_ && !vorZombie(); }

   /// Whether this is an `Observer`, where both observe one object: see NotifieeConstOf.
   template<class Observer> bool vorIs() const { return depth_ >= Observer::vorDepth; }

 protected:
   static constexpr U8 vorDepth = 0;

   NotifieeBase() = default;

   /// The list of `notifier` that this kind of observer joins; null where it has none.
   virtual NotifieeList * vorListOf( PtrInterface const & notifier ) const { return notifier.notifieeList(); }

   /// Joins silently, for constructors: no override of notifierIs runs.
   void vorAttach( Ptr<PtrInterface const> const & notifier );

 private:
   friend NotifieeList;
   template<class, class> friend class NotifieeConstOf;

   void join();
   void leave();

   Ptr<PtrInterface const> notifier_;
   NotifieeList * list_ = nullptr;
   NotifieeBase * previous_ = nullptr;
   NotifieeBase * next_ = nullptr;
   bool registered_ = true;
   bool notificationActive_ = true;
   U8 depth_ = vorDepth;
};

/// The observer class of `T`, to which T::NotifieeConst adds its callbacks. A notifier of another type counts as none.
/// The observer classes of a type and of its bases are one chain, each built on the last, and whoever observes an
/// object is of a class in the chain of the object's type. So its depth in the chain tells what it is, without asking
/// the run time for every observer at every change.
template<class T, class Base = NotifieeBase> class NotifieeConstOf : public Base {
 public:
   static constexpr U8 vorDepth = Base::vorDepth + 1;
   NotifieeConstOf() { this->NotifieeBase::depth_ = vorDepth; }

   Ptr<T const> notifier() const { return static_cast<T const *>( this->vorNotifier() ); }
   void notifierIs( Ptr<PtrInterface const> const & notifier ) override {
      Base::notifierIs( ptrCast<T const>( notifier ) );
   }

 protected:
   void vorAttach( Ptr<T const> const & notifier ) { NotifieeBase::vorAttach( notifier ); }
};

/// The same with write access to its notifier; built on T::NotifieeConst, whose notifier was given as a `Ptr<T>`.
template<class T, class Base> class NotifieeOf : public Base {
 public:
   Ptr<T> notifier() const { return const_cast<T *>( static_cast<T const *>( this->vorNotifier() ) ); }
   template<class U>
   requires std::is_convertible_v<U *, T *>
   void notifierIs( Ptr<U> const & notifier ) { Base::notifierIs( Ptr<PtrInterface const>( notifier ) ); }
   void notifierIs( std::nullptr_t ) { Base::notifierIs( nullptr ); }

 protected:
   using Base::notifierIs;
};

template<class Callback> void NotifieeList::doVisit( Callback && callback ) {
   Visit visit( *this );
   // `next` is read back from the visit only when it was moved, so that the processor can run ahead to it meanwhile.
   for ( NotifieeBase * next = visit.next; next; ) {
      NotifieeBase & member = *next;
      visit.next = next = &member == visit.last ? nullptr : member.next_;
      if ( member.vorLive() ) callback( member );
      if ( visit.moved ) next = visit.next;
   }
}

}   // namespace Vor
