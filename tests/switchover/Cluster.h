// Two supervisors on one simulated card, as processes: the card's hardware, a log server for each, and their agents.
// B's server follows A's.
#pragma once

#include "framework/AttributeLog.h"
#include "recording/Event.h"
#include "state/RedisServer.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"

#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Switchover {

/// Of one entity and generation, in the order in which they were seen.
using States = std::vector<std::string>;

class Cluster {
 public:
   Cluster();
   ~Cluster();

   /// Starts the agent of a supervisor, "a" or "b"; its event log is NAME.events.
   Host::Process & agent( std::string const & name, std::string const & role, std::vector<std::string> more = {} );
   Host::Process & agent( std::string const & name ) { return *agents_.at( name ); }
   /// Tells it what it is. Gives why it refuses, empty where it does not.
   std::string role( std::string const & name, std::string const & role, U32 generation ) const;
   /// Its source of time synchronisation says so.
   void timeSync( std::string const & name, std::string const & state ) const;
   /// Where its log stands; nothing where it does not answer.
   struct Position {
      Vor::LogPosition handed;
      Vor::LogPosition written;
      Vor::LogPosition safe;
   };
   std::optional<Position> position( std::string const & name ) const;

   State::RedisServer & server( std::string const & name ) { return name == "a" ? *a_ : *b_; }
   std::string path( std::string const & file ) const { return folder_.path( file ); }
   /// What the hardware has seen until now.
   std::vector<Recording::Event> hardwareEvents() const;
   std::size_t resets() const;

   /// The states that an agent stored, by its event log, with those that it began with.
   std::map<std::string, States> statesOf( std::string const & name ) const;

 private:
   Input::Folder folder_;
   std::string card_;
   std::optional<State::RedisServer> a_;
   std::optional<State::RedisServer> b_;
   std::optional<Host::Process> hardware_;
   std::map<std::string, std::optional<Host::Process>> agents_;
};

/// Reads a log on a thread of its own, all the time.
class Watcher {
 public:
   explicit Watcher( std::string place );
   ~Watcher();

   /// What was read, by generation and entity.
   std::map<U32, std::map<std::string, States>> stop();

 private:
   void read();

   std::string const place_;
   std::atomic<bool> stops_{ false };
   std::map<U32, std::map<std::string, States>> seen_;
   std::thread thread_;
};

/// Whether each of `seen` comes in `had`, in this order.
bool inOrder( States const & seen, States const & had );

}   // namespace Switchover
