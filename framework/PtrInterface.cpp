#include "framework/PtrInterface.h"

#include "framework/Assert.h"
#include "framework/Type.h"

namespace Vor {

constinit std::atomic<bool> Detail::threadSafePtrsSwitch{ false };

bool threadSafePtrs() { return Detail::threadSafePtrsSwitch.load( std::memory_order_relaxed ); }
void threadSafePtrsIs( bool threadSafe ) {
   Detail::threadSafePtrsSwitch.store( threadSafe, std::memory_order_relaxed );
}

void Detail::nullPtrFollowed( char const * signature ) {
   assertionFailed( { "object_", "PtrInterface", signature, __LINE__ } );
}

void PtrInterface::zeroReferencesIs( bool ) {
   // The type is asked while the object is still whole.
   if ( allocationTracked_ ) fwkType().vorAllocatedDec();
   references_.store( destroyedBias, std::memory_order_relaxed );
   // The analyzer does not know what the count says, and would take each reference that goes for the last one.
#ifndef __clang_analyzer__
   delete this;
#endif
}

void PtrInterface::vorZombieIs( bool zombie ) {
   if ( zombie != vorZombie() ) vorReferencesAdd( zombie ? zombieBias : -zombieBias );
}

Type const & PtrInterface::fwkType() const { return staticType(); }

Type const & PtrInterface::staticType() {
   static constinit Type const type( "Vor::PtrInterface" );
   return type;
}

}   // namespace Vor
