// Virtual time: an hour of the library's own sleep, through its shared library, takes no time.
#include <clockpath/sim/VirtualClock.h>
#include <clockpath/util/Utils.h>

#include <iostream>

int main() {
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   for ( int i = 0; i < 3600; ++i ) {
      Hardware::nsleep( 1'000'000'000 );
      if ( clock->nowNs() == 0 ) return 1;
   }
   std::cout << clock->nowNs() << " ns\n";
   return clock->nowNs() == 3'600'000'000'000 ? 0 : 1;
}
