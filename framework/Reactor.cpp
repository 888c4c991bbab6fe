#include "framework/Reactor.h"

namespace Vor {

void StateMachine::hasNotificationActiveIs( bool active ) {
   if ( active == notificationActive_ ) return;
   notificationActive_ = active;
   for ( ReactorAttributeBase * reactor : reactors_ ) reactor->hasNotificationActiveIs( active );
}

void StateMachine::vorDoZombieReactors( bool zombie ) {
   for ( ReactorAttributeBase * reactor : reactors_ ) reactor->zombieIs( zombie );
}

void StateMachine::zeroReferencesIs( bool zero ) {
   vorDoZombieReactors( true );
   PtrInterface::zeroReferencesIs( zero );
}

}   // namespace Vor
