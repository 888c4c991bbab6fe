#include "card/SimulatedWorld.h"

#include "sim/ScenarioRunner.h"
#include "sim/SimulatedHam.h"

namespace Host {

SimulatedWorld::SimulatedWorld( Input::CardDescription description, Sim::Scenario scenario )
   : scenario_( std::move( scenario ) ),
     simulatedCard_( clock_, scenario_.built ? *scenario_.built : simulatedParameters( description ) ),
     world_(
        clock_, std::move( description ), scenario_.start,
        [this]( Sim::CardEvents & events ) {
           return Vor::Ptr<Fru::HamImpl>( new Sim::SimulatedHam( "hamImpl", simulatedCard_, events ) );
        },
        &simulatedCard_ ) {}

void SimulatedWorld::run() {
   Sim::ScenarioRunner runner( clock_, events(), world_.targets(), scenario_ );
   while ( world_.machines().makeNext() ) {
   }
   runner.run();
}

}   // namespace Host
