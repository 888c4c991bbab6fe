// The tracked allocator: every entity, machine and SPI interface is made through it, so that a type's descriptor
// tells how many of it live.
#pragma once

#include "framework/PtrInterface.h"
#include "framework/Type.h"

namespace Vor {

/// Makes a `T` and records it against its type until its zero-reference handler destroys it.
template<class T, class... Arguments> Ptr<T> allocate( Arguments &&... arguments ) {
   Ptr<T> object = new T( std::forward<Arguments>( arguments )... );
   object->vorAllocationTrackedIs( true );
   object->fwkType().vorAllocatedInc();
   return object;
}

}   // namespace Vor
