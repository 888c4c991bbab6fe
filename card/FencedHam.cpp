#include "card/FencedHam.h"

#include "card/PolledHam.h"

namespace Host {

FencedHam::FencedHam( Vor::Ptr<Fru::HamImpl> const & real, CardLock const & lock, std::function<void( U32 )> fenced )
   : WrappingHam( real ), lock_( lock ), fenced_( std::move( fenced ) ) {}

void FencedHam::read32( U32 address, U32 & value ) {
   if ( lock_.held() ) {
      real().read32( address, value );
      return;
   }
   fenced_( lock_.generationNow() );
   value = PolledHam::goneValue;
}

void FencedHam::write32( U32 address, U32 value ) {
   if ( lock_.held() )
      real().write32( address, value );
   else
      fenced_( lock_.generationNow() );
}

}   // namespace Host
