// Lets other processes use hardware that lives in this one: each access that comes over a Unix socket is made on a
// handle, one after the other, in the order in which they come. Any number of users may come and go, in whatever way.
//
//    Host::HardwareServer server( "card.sock", new Host::RealTimeHam( "hamImpl", simulatedParameters( card ) ) );
//    server.run( signals );
#pragma once

#include "card/HardwareMessage.h"
#include "platform/Ham.h"

#include <list>
#include <string>

namespace Host {

class HardwareServer {
 public:
   static constexpr std::size_t usersMax = 64;

   /// Those who connect from now on are answered by run(). Only this user may connect. Throws Input::InputError where
   /// there can be no such socket, and CardUnavailable where another process answers there.
   HardwareServer( std::string path, Vor::Ptr<Fru::HamImpl> const & hardware );
   /// Removes the socket.
   ~HardwareServer();
   HardwareServer( HardwareServer const & ) = delete;
   HardwareServer & operator=( HardwareServer const & ) = delete;

   /// Answers until `stop` is readable.
   void run( int stop );

 private:
   bool answer( int user ) const;

   std::string const path_;
   Vor::Ptr<Fru::HamImpl> const hardware_;
   HardwareSocket const door_;
   std::list<Descriptor> users_;
};

}   // namespace Host
