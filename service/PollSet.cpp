#include "service/PollSet.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Host {

void PollSet::descriptorAdd( int fd, Ready ready ) {
   descriptors_.push_back( { fd, POLLIN, 0 } );
   ready_.push_back( std::move( ready ) );
}

bool PollSet::wait( double seconds ) {
   constexpr double longestMs = std::numeric_limits<int>::max();
   int const ms = static_cast<int>( std::ceil( std::clamp( seconds * 1000, 0.0, longestMs ) ) );
   if ( ::poll( descriptors_.data(), descriptors_.size(), ms ) <= 0 ) return false;
   for ( std::size_t at = 0; at < descriptors_.size(); ++at )
      if ( descriptors_[at].revents != 0 ) ready_[at]();
   return true;
}

}   // namespace Host
