#include "util/Utils.h"

#include <time.h>   // NOLINT(modernize-deprecated-headers): nanosleep is the system's, not the language's

namespace Hardware {

void nsleep( std::uint32_t nanoseconds ) {
   constexpr std::uint32_t nanosecondsPerSecond = 1'000'000'000;
   timespec left{};
   left.tv_sec = nanoseconds / nanosecondsPerSecond;
   left.tv_nsec = static_cast<long>( nanoseconds % nanosecondsPerSecond );
   // One record is request and remainder, so that an interrupted sleep goes on where it stopped.
   while ( nanosleep( &left, &left ) != 0 ) {
   }
}

}   // namespace Hardware
