// The account of a simulated bring-up for people: the card's chips, the gates as they open and close, attempts,
// operations and lock polls as they go, and at the end the states and how much virtual time each step took.
//
// It is written on the machines' steps; besides it shows scenario actions, logged messages, assertions that fail, and
// traces where they are asked for.
//
//    Host::Report report( std::cout, Host::styleOf( STDOUT_FILENO ), world );
//    report.begin( "examples/demo.json" );
//    world.run();
//    report.end();
#pragma once

#include "card/SimulatedWorld.h"
#include "card/StepListener.h"
#include "report/Style.h"
#include "sim/CardListener.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Host {

class Report final : public Sim::CardListener, private StepListener {
 public:
   /// Shows traces up to `traceLevel`, none without. Stream and world outlive the report.
   Report( std::ostream & out, Style style, SimulatedWorld & world, std::optional<U32> traceLevel );

   void begin( std::string const & title );
   void end();

   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, std::string_view id ) override;
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) override;
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void onScenario( U64 ns, std::string_view what ) override;

 private:
   // When the steps of an attempt were over, as far as it came.
   struct Times {
      std::optional<U64> begunNs;
      std::optional<U64> pulsedNs;
      std::optional<U64> cleanNs;
      std::optional<U64> programmedNs;
      std::optional<U64> endNs;   // ready or failed
   };

   // What is known of one chip.
   struct Track {
      std::string name;
      bool isTolvane = false;
      std::size_t operations = 0;   // of its sequence
      std::string gate;             // as last shown
      std::string state = "uninitialized";
      std::string clock = "notReady";
      U32 attempts = 0;    // of the present bring-up
      U32 operation = 0;   // the last one of the present attempt
      U32 polls = 0;
      U32 pollShown = 0;
      U8 pollStatus = 0;
      U64 pollNs = 0;
      std::optional<U32> frequencyInHz;
      Times steps;   // of the last attempt
   };

   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void told( Track & track, U64 ns, Hardware::Steps::GateEvaluated const & gate );
   void told( Track & track, U64 ns, Hardware::Steps::AttemptBegun const & attempt );
   void told( Track & track, U64 ns, Hardware::Steps::ResetPulsed const & );
   void told( Track & track, U64 ns, Hardware::Steps::CleanedUp const & );
   void told( Track & track, U64 ns, Hardware::Steps::OperationDone const & done );
   void told( Track &, U64, Hardware::Steps::EnableDone const & ) {}
   void told( Track & track, U64 ns, Hardware::Steps::AttemptFailed const & failed );
   void told( Track & track, U64 ns, Hardware::Steps::ProgrammingEnded const & ended );
   void told( Track & track, U64 ns, Hardware::Steps::LockPolled const & poll );
   void told( Track & track, U64 ns, Hardware::Steps::FrequencyRead const & read );
   void told( Track & track, U64 ns, Hardware::Steps::Published const & published );
   void told( Track & track, U64 ns, Hardware::Steps::TolvanePublished const & published );

   void line( U64 ns, std::string_view chip, std::string const & what, std::string const & details );
   void pollsShow( Track & track, U64 ns );
   std::string statesText() const;
   std::string stepsText() const;

   std::ostream & out_;
   Style const style_;
   SimulatedWorld & world_;
   std::optional<U32> const traceLevel_;
   std::vector<Track> tracks_;   // in the card's order
   std::unordered_map<std::string_view, Track *> trackOf_;
   std::size_t chipWidth_ = 8;
   std::chrono::steady_clock::time_point started_;
};

}   // namespace Host
