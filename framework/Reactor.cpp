#include "framework/Reactor.h"

namespace Vor {

ReactorAttributeBase::ReactorAttributeBase( StateMachine & machine ) : machine_( machine ) {
   machine.reactors_.push_back( this );
}

void ReactorAttributeBase::pointTo( Ptr<PtrInterface const> const & notifier ) {
   if ( !notifier ) return notifierDel();
   Ptr<NotifieeBase> const held = reactor_;
   held->notifierIs( notifier );
}

void ReactorAttributeBase::reactorIs( Ptr<NotifieeBase> const & made ) {
   made->hasNotificationActiveIs( machine_.hasNotificationActive() );
   notifierDel();
   reactor_ = made;
}

void ReactorAttributeBase::notifierDel() {
   Ptr<NotifieeBase> const dropped = std::exchange( reactor_, nullptr );
   if ( !dropped ) return;
   dropped->vorZombieIs( true );
   dropped->notifierIs( nullptr );
}

void StateMachine::hasNotificationActiveIs( bool active ) {
   if ( active == notificationActive_ ) return;
   notificationActive_ = active;
   for ( ReactorAttributeBase * attribute : reactors_ )
      if ( attribute->reactor_ ) attribute->reactor_->hasNotificationActiveIs( active );
}

void StateMachine::vorDoZombieReactors( bool zombie ) {
   for ( ReactorAttributeBase * attribute : reactors_ )
      if ( attribute->reactor_ ) attribute->reactor_->vorZombieIs( zombie );
}

void StateMachine::zeroReferencesIs( bool zero ) {
   vorDoZombieReactors( true );
   PtrInterface::zeroReferencesIs( zero );
}

}   // namespace Vor
