// How machines, and what they own, are made: through the tracked allocator, with their notification switched on.
//
//    inline constexpr auto & max24305SmFactory = creatorOf<Max24305Sm>;   // Ptr<Max24305Sm> max24305SmFactory( ... )
#pragma once

#include "framework/Allocate.h"

namespace Hardware {

namespace Detail {

template<class Factory> struct Creator;
template<class T, class... Parameters> struct Creator<Vor::Ptr<T>( Parameters... )> {
   static Vor::Ptr<T> make( Parameters... parameters ) {
      Vor::Ptr<T> made = Vor::factoryOf<T>( std::move( parameters )... );
      made->hasNotificationActiveIs( true );
      return made;
   }
};

}   // namespace Detail

/// The function that makes a `T`; it takes the constructor parameters of the list, in order, by value.
template<class T>
inline constexpr auto & creatorOf = Detail::Creator<std::remove_reference_t<decltype( Vor::factoryOf<T> )>>::make;

}   // namespace Hardware
