// The tracked allocator: every entity, machine and SPI interface is made through it, so that a type's descriptor
// tells how many of it live.
//
//    /// A new status that stands in no directory.
//    inline constexpr auto & statusFactory = Vor::factoryOf<Status>;   // Ptr<Status> statusFactory( Name, ... )
#pragma once

#include "framework/Attributes.h"
#include "framework/PtrInterface.h"

namespace Vor {

/// Makes a `T` and records it against its type until its zero-reference handler destroys it.
template<class T, class... Arguments> Ptr<T> allocate( Arguments &&... arguments ) {
   Ptr<T> object = new T( std::forward<Arguments>( arguments )... );
   object->vorAllocationTrackedIs( true );
   object->fwkType().vorAllocatedInc();
   return object;
}

namespace Detail {

template<class T, class Parameters = ConstructorParameters<T>> struct Factory;
template<class T, class... Parameter> struct Factory<T, TypeList<Parameter...>> {
   static Ptr<T> make( ValueOf<Parameter::get>... values ) {
      Ptr<T> made = allocate<T>( std::move( values )... );
      made->hasNotificationActiveIs( true );   // a machine starts with it off
      return made;
   }
};

}   // namespace Detail

/// The function that makes a `T` and switches its notification on; it takes the constructor parameters of the list, in
/// order, by value.
template<class T> inline constexpr auto & factoryOf = Detail::Factory<T>::make;

}   // namespace Vor
