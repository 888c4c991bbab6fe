// The same agent on the simulated card, in virtual time: a chip that locks, and one that cannot.
#include "Agent.h"

#include <clockpath/sim/ScenarioRunner.h>
#include <clockpath/sim/SimulatedHam.h>

namespace {

constexpr U64 second = 1'000'000'000;

// The state that the chip ends in, and when.
std::pair<Hardware::Max24305::State, U64> endOf( Sim::Scenario const & scenario ) {
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );   // the library's sleeps, and the agent's clock
   Sim::SimulatedCard card(
      clock, { .outputs = { { .name = "ptp1Reset", .offset = 0x2000, .bit = 2, .activeType = Fru::activeLow_ } },
               .max24305s = {
                  { .name = "ptp1",
                    .configOffset = 0x400,
                    .statusOffset = 0x500,
                    .resetGpoName = "ptp1Reset",
                    .outputFrequencyInHz = 25'000'000 } } } );
   Sim::CardEvents events( clock );
   Vor::Ptr<Fru::HamImpl> const ham = new Sim::SimulatedHam( "card", card, events );
   ham->hardwarePresentIs( true );

   Example::Agent agent( ham );
   Sim::ScenarioTargets targets;
   targets.cards = { &card };
   Sim::ScenarioRunner loop( clock, events, targets, scenario );   // in place of Agent::run
   agent.begin();
   loop.run();
   return { agent.status()->state(), clock->nowNs() };
}

}   // namespace

int main() {
   auto const [healthy, readyNs] = endOf( {} );
   Sim::Scenario scenario;
   Sim::Fault const noLock{ .kind = Sim::FaultKind::neverLock_, .forNs = 120 * second };
   scenario.events.push_back( { 0, { { .key = "fault", .name = "ptp1", .fault = noLock } } } );
   auto const [troubled, failedNs] = endOf( scenario );
   std::cout << "healthy: " << stringValue( healthy ) << " after " << readyNs
             << " ns\ntroubled: " << stringValue( troubled ) << " after " << failedNs << " ns\n";
   using namespace Hardware::Max24305;
   return healthy == ready_ && readyNs < 10 * second && troubled == failed_ && failedNs > 100 * second ? 0 : 1;
}
