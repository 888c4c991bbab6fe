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
   ~Report() override;

   void begin( std::string const & title );
   void end();

   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, Vor::LogRecord const & record ) override;
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) override;
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void onScenario( U64 ns, std::string_view what ) override;

 private:
   struct Chip;

   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void line( U64 ns, std::string_view chip, std::string const & what, std::string const & details );

   std::ostream & out_;
   Style const style_;
   SimulatedWorld & world_;
   std::optional<U32> const traceLevel_;
   std::vector<Chip> chips_;   // in the card's order
   std::unordered_map<std::string_view, Chip *> chipOf_;
   std::size_t chipWidth_ = 8;
   std::chrono::steady_clock::time_point started_;
};

}   // namespace Host
