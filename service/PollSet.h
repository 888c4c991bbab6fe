// What the agent's loop waits for: descriptors that become readable, each with what is to be done then.
//
//    PollSet pollSet;
//    pollSet.descriptorAdd( socket.fd(), [&] { answer( socket ); } );
//    pollSet.wait( seconds );
#pragma once

#include <poll.h>

#include <deque>
#include <functional>
#include <vector>

namespace Host {

class PollSet {
 public:
   using Ready = std::function<void()>;

   /// The descriptor outlives this. `ready` reads what is there, or the next wait ends at once; it may add descriptors.
   void descriptorAdd( int fd, Ready ready );

   /// Waits until a descriptor is readable or a signal comes, at most that long; infinity waits for weeks. Calls
   /// `ready` of each that is readable and gives whether there was one.
   bool wait( double seconds );

 private:
   std::vector<pollfd> descriptors_;
   std::deque<Ready> ready_;   // as many, in the same order; each stays in place while more are added
};

}   // namespace Host
