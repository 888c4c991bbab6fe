#include "framework/Notifiee.h"

namespace Vor {

NotifieeList::~NotifieeList() {
   while ( head_ ) deleteMember( *head_ );
}

void NotifieeList::newMember( NotifieeBase & member ) {
   member.list_ = this;
   member.previous_ = tail_;
   member.next_ = nullptr;
   ( tail_ ? tail_->next_ : head_ ) = &member;
   tail_ = &member;
}

void NotifieeList::deleteMember( NotifieeBase & member ) {
   for ( Visit * visit = visit_; visit; visit = visit->outer ) {
      if ( visit->next == &member ) {
         visit->next = &member == visit->last ? nullptr : member.next_;
         visit->moved = true;
      }
      if ( visit->last == &member ) visit->last = member.previous_;
   }
   ( member.previous_ ? member.previous_->next_ : head_ ) = member.next_;
   ( member.next_ ? member.next_->previous_ : tail_ ) = member.previous_;
   member.list_ = nullptr;
   member.previous_ = member.next_ = nullptr;
}

NotifieeBase::~NotifieeBase() { leave(); }

void NotifieeBase::notifierIs( Ptr<PtrInterface const> const & notifier ) {
   if ( notifier == notifier_ ) return;
   vorAttach( notifier );
}

void NotifieeBase::vorAttach( Ptr<PtrInterface const> const & notifier ) {
   Ptr<PtrInterface const> const left = notifier_;   // leave() must find its list alive
   leave();
   notifier_ = notifier;
   join();
}

void NotifieeBase::isRegisteredNotifieeIs( bool registered ) {
   if ( registered == registered_ ) return;
   leave();
   registered_ = registered;
   join();
}

void NotifieeBase::join() {
   if ( !registered_ || !notifier_ ) return;
   if ( NotifieeList * list = vorListOf( *notifier_ ) ) list->newMember( *this );
}

void NotifieeBase::leave() {
   if ( list_ ) list_->deleteMember( *this );
}

}   // namespace Vor
