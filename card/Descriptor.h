// A file descriptor of the operating system, closed as its owner goes.
#pragma once

#include <unistd.h>

namespace Host {

class Descriptor {
 public:
   /// Owns `fd` from now on; a negative one stands for none.
   explicit Descriptor( int fd ) : fd_( fd ) {}
   Descriptor( Descriptor const & ) = delete;
   Descriptor & operator=( Descriptor const & ) = delete;
   ~Descriptor() {
      if ( fd_ >= 0 ) ::close( fd_ );
   }
   int fd() const { return fd_; }

 private:
   int const fd_;
};

}   // namespace Host
