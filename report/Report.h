// The account of a simulated bring-up for people: the card's chips, the gates as they open and close, attempts,
// operations and lock polls as they go, and at the end the states and how much virtual time each step took.
//
// It sees what the event log sees, and the conditions of the gates.
//
//    Host::Report report( std::cout, Host::styleOf( STDOUT_FILENO ), world );
//    report.begin( "examples/demo.json" );
//    world.run();
//    report.end();
#pragma once

#include "card/SimulatedWorld.h"
#include "framework/Entity.h"
#include "report/ChipTrack.h"
#include "report/Style.h"
#include "sim/CardListener.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Host {

class Report final : public Sim::CardListener {
 public:
   /// Shows traces up to `traceLevel`, none without. Stream and world outlive the report.
   Report( std::ostream & out, Style style, SimulatedWorld & world, std::optional<U32> traceLevel );
   ~Report() override;
   Report( Report const & ) = delete;
   Report & operator=( Report const & ) = delete;

   void begin( std::string const & title );
   void end();

   void onWrite32( U64 ns, U32 address, U32 value ) override;
   void onRead32( U64 ns, U32 address, U32 value ) override;
   void onGpo( U64 ns, std::string_view name, bool active ) override;
   void onSleep( U64 ns, U64 forNs ) override;
   void onState( U64 ns, Sim::StateChange const & change ) override;
   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, std::string_view id ) override;
   void onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) override;
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) override;
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void onScenario( U64 ns, std::string_view what ) override;

 private:
   // Looks at the gates whenever something changes that one of them depends on.
   class GateWatch final : public Vor::EntityObserver {
    public:
      GateWatch( Vor::Ptr<Vor::Entity const> const & entity, Report & report ) : report_( report ) {
         vorAttach( entity );
      }
      void onAttribute( Vor::Entity const &, Vor::Attribute const &, Vor::Value const & ) override {
         report_.gatesLook();
      }

    private:
      Report & report_;
   };

   void line( U64 ns, std::string_view chip, std::string const & what, std::string const & details );
   void gatesLook();
   void pulseClaim( ChipTrack & track );
   void attemptEnd( ChipTrack & track );
   void pollsShow( ChipTrack & track, U64 ns );
   void tolvaneStateIs( ChipTrack & track, U64 ns, std::string const & state );
   void max24305StateIs( ChipTrack & track, U64 ns, std::string const & state );
   ChipTrack * trackOf( std::string_view chip );
   std::string cardText() const;
   std::string statesText() const;
   std::string stepsText() const;

   std::ostream & out_;
   Style const style_;
   SimulatedWorld & world_;
   std::optional<U32> const traceLevel_;
   std::vector<ChipTrack> tracks_;
   std::vector<Vor::Ptr<GateWatch>> watches_;
   std::size_t chipWidth_ = 8;
   ChipTrack * cleanUpSleep_ = nullptr;   // whose clean-up the next sleep belongs to
   std::chrono::steady_clock::time_point started_;
};

}   // namespace Host
