// What the agent tells the service manager that started it, in datagrams to $NOTIFY_SOCKET: when it is ready, how its
// chips stand, that it is alive, that it reads its card description again, and that it stops.
//
//    ServiceManager manager;                          // where there is none, nothing is sent
//    manager.ready();
//    while ( !ends ) {
//       manager.statusIs( "ptp0 locking, attempt 1" );
//       manager.alive();
//       pollSet.wait( std::min( seconds, manager.longestWait() ) );
//    }
//
// Alive is who turns his loop, or goes on with a bring-up, which shows in its sleeps: both say so, and nobody else, so
// that a loop that hangs is found. The watchdog is fed at no more than half its time, where no sleep is longer than
// that: those of the machines last up to a second, a pause of a sequence up to 4.3 s. Before the agent is ready each
// sign of life also extends the time that the manager gives it to start, since the first bring-up of a dead chip takes
// minutes.
#pragma once

#include "card/Descriptor.h"
#include "framework/Types.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace Host {

class ServiceManager {
 public:
   /// By the environment, from which it takes what says so: a child is no service.
   ServiceManager();
   ServiceManager( ServiceManager const & ) = delete;
   ServiceManager & operator=( ServiceManager const & ) = delete;

   bool present() const { return !address_.empty(); }

   /// The machines are made, or wait for their card; a description is read again.
   void ready();
   void reloading();
   /// Once.
   void stopping();
   /// On one line; sent where it is another than the last.
   void statusIs( std::string const & status );
   void alive();

   /// In seconds, until it must be told again that the agent is alive; infinity where nobody asks.
   double longestWait() const;

 private:
   using Clock = std::chrono::steady_clock;

   void tell( std::string_view text ) const;

   std::string address_;   // as it stands in a socket's address
   std::optional<Clock::duration> watchdog_;
   Descriptor const socket_;
   Clock::time_point aliveAt_;
   std::string status_;
   bool starting_ = true;
   bool stopping_ = false;
};

}   // namespace Host
