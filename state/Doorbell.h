// How the readers of a file hear of a change, each in its own process: each has a socket in a folder beside the file,
// and the writer sends a byte to every one. Watching the file itself misses changes, since a writer need not write
// anything between two looks that the system would tell of.
//
//    State::Doorbell bell( "agent.db.readers" );     // the reader: poll bell.fd()
//    State::Bellringer ringer( "agent.db.readers" ); // the writer
//    ringer.ring();
//
// The writer never waits: a reader that does not listen has its ring already, and one that died loses its socket.
#pragma once

#include "card/Descriptor.h"

#include <string>

namespace State {

class Doorbell {
 public:
   /// Makes the folder where it is missing. Throws Vor::LogUnavailableException.
   explicit Doorbell( std::string const & folder );
   ~Doorbell();
   Doorbell( Doorbell const & ) = delete;
   Doorbell & operator=( Doorbell const & ) = delete;

   int fd() const { return socket_.fd(); }
   /// Takes the rings that came.
   void hush() const;

 private:
   Host::Descriptor const socket_;
   std::string path_;
};

class Bellringer {
 public:
   explicit Bellringer( std::string folder );
   void ring() const;

 private:
   std::string const folder_;
   Host::Descriptor const socket_;
};

}   // namespace State
