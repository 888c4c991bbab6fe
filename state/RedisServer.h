// A Redis server of its own, as a child process: for a demonstration, and for tests. A system's own servers are started
// by its init system, with a configuration such as docs/state.md has.
//
//    State::RedisServer first( folder + "/first" );
//    State::RedisServer second( folder + "/second", first );       // copies the first
//    auto const log = State::openSink( first.writer() );
//
// It listens on a socket in its folder, which only this user can enter, and on a loopback port for the server that
// copies it. There are three users, each with a password: `writer`, `viewer`, which cannot change anything, and
// `replica`, the other server. What it was told outlives it in its folder, so that it can be started again.
//
// It ends with this object, and with the thread that started it.
#pragma once

#include <sys/types.h>

#include <string>

namespace State {

class RedisServer {
 public:
   /// Makes the folder, and waits until the server answers. Throws Vor::LogUnavailableException.
   explicit RedisServer( std::string folder );
   /// One that copies the other, and has its passwords.
   RedisServer( std::string folder, RedisServer const & other );
   ~RedisServer();
   RedisServer( RedisServer const & ) = delete;
   RedisServer & operator=( RedisServer const & ) = delete;

   /// Places of its log (state/OpenLog.h).
   std::string writer() const { return place( "writer", passwords_.writer ); }
   std::string viewer() const { return place( "viewer", passwords_.viewer ); }

   pid_t process() const { return process_; }
   /// At once; with what it was told before still in its folder.
   void end();
   /// After end(): as it was, as a copy of another, or as one that is written.
   void start() { start( copied_ ); }
   void startAsCopyOf( RedisServer const & other ) { start( other.port_ ); }
   void startAsFirst() { start( 0 ); }

 private:
   struct Passwords {
      std::string writer;
      std::string viewer;
      std::string replica;
   };

   std::string place( std::string const & user, std::string const & password ) const;
   void start( int copied );
   void writeConfiguration() const;
   bool answers() const;

   std::string const folder_;
   Passwords const passwords_;
   int port_ = 0;
   int copied_ = 0;   // the port of the server that it copies; 0 for none
   pid_t process_ = -1;
};

}   // namespace State
