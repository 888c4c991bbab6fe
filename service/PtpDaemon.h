// The source of time synchronisation that is a PTP daemon on this machine, linuxptp's ptp4l: it asks for the states of
// its ports each second, has it tell changes at once, and says what they mean (service/TimeSyncRules.h).
//
//    PtpDaemon daemon( { .socket = "/run/ptp4l" }, ownSocket, pollSet, said, tell );
//    for ( ;; ) {
//       daemon.look();
//       pollSet.wait( std::min( seconds, daemon.longestWait() ) );
//    }
//
// All of it happens on the loop's thread and none of it waits: what cannot be sent is not answered, and a daemon that
// does not answer three times in a row is not there. While a bring-up has the thread nothing is asked and nothing
// heard, which is soon enough: a chip that is being programmed can be told nothing before that returns, and one that
// locks nothing but 0.
//
// But a daemon waits for who does not read: it sends without a bound on its time, and some ten unread messages stop
// it, and its clock with it. So whoever will not read for long rests first, which closes the socket; and the daemon
// tells changes for some seconds only, unless it is asked again, so that a stopped agent stops no daemon for long.
#pragma once

#include "card/Descriptor.h"
#include "service/PollSet.h"
#include "service/TimeSyncRules.h"

#include <sys/un.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Host {

struct PtpOptions {
   std::optional<std::string> socket = {};   ///< the daemon's; none: no daemon is followed
   U32 domain = 0;                           ///< of PTP, as the daemon is set up
   /// How long the daemon counts as in holdover after it was locked: in 4 hours an oscillator that is off by 1e-10, as
   /// a good oven's is, leaves the 1.5 us that networks of mobile radio allow.
   double holdoverSeconds = 4 * 3600;
};

class PtpDaemon {
 public:
   static constexpr double periodSeconds = 1;
   static constexpr U32 unansweredMax = 3;

   using Said = std::function<void( PtpTimeSync::OperationalState state )>;
   using Tell = std::function<void( std::string const & line )>;

   /// `ownSocket`: where the daemon's answers come, in a folder that nobody else may enter. `said` is called with each
   /// new state and may set machines to work, `tell` with what people should know. The set is waited on no more when
   /// this has gone. Throws Input::InputError for names that no socket can have, and where there can be no socket.
   PtpDaemon( PtpOptions const & options, std::string const & ownSocket, PollSet & pollSet, Said said, Tell tell );
   ~PtpDaemon();
   PtpDaemon( PtpDaemon const & ) = delete;
   PtpDaemon & operator=( PtpDaemon const & ) = delete;

   /// Whoever followed it before had it locked, or held over: how long ago nobody knows, so it counts from now.
   void wasLocked();
   /// Asks when it is time to. `said` may be called in it.
   void look();
   /// In seconds, until it is.
   double longestWait() const;
   /// Hears nothing until the next look, and nobody waits for it. What was asked last need not be answered.
   void rest();

 private:
   struct Heard {
      Ptp::PortState state;
      U32 period;   // in which it was told last
   };

   bool open();
   void hear();
   void ask();
   bool send( std::vector<U8> const & message );
   void conclude();
   void unsentIs( std::string const & why );

   sockaddr_un const daemon_;
   sockaddr_un const own_;
   Said const said_;
   Tell const tell_;
   Ptp::Client const client_;
   Descriptor const readable_;   // an epoll of the socket, which comes and goes
   std::optional<Descriptor> socket_;
   double askAt_ = 0;
   bool asked_ = false;   // and no rest since
   U16 sequence_ = 0;
   U32 period_ = 0;   // that had its time to be answered, counted from 1 on
   std::map<U16, Heard> ports_;
   Holdover holdover_;
   std::optional<PtpTimeSync::OperationalState> state_;
   std::string line_;       // as it was told last
   std::string unsent_;     // likewise, why nothing can be asked
   std::string misheard_;   // what made no sense first since it began to answer; that is told once
};

}   // namespace Host
