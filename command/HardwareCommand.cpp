#include "command/HardwareCommand.h"

#include "card/HardwareServer.h"
#include "card/RealTimeHam.h"
#include "input/InputError.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "recording/LogFile.h"
#include "recording/RecordedHam.h"
#include "service/Exit.h"
#include "service/WallTime.h"
#include "sim/ScenarioRunner.h"

#include <sys/signalfd.h>

#include <csignal>
#include <iostream>

namespace Host {

namespace {

// Before a recorded handle: tells of the outputs as the hardware sees them, when a write changes their level.
class OutputsHam final : public WrappingHam {
 public:
   OutputsHam(
      Vor::Ptr<RealTimeHam> const & simulated, std::vector<Sim::SimulatedCard::Output> outputs,
      Sim::CardEvents & events )
      : WrappingHam( new Recording::RecordedHam( simulated, events ) ),
        simulated_( simulated ),
        outputs_( std::move( outputs ) ),
        events_( events ) {}

   void read32( U32 address, U32 & value ) override { real().read32( address, value ); }
   void write32( U32 address, U32 value ) override {
      for ( Sim::SimulatedCard::Output const & output : outputs_ ) {
         if ( output.offset != address ) continue;
         U32 before = 0;
         simulated_->read32( address, before );   // by nobody's access
         Fru::OutputBit const bit{ output.bit, output.activeType };
         if ( bit.active( before ) != bit.active( value ) )
            events_.tell( &Sim::CardListener::onGpo, output.name, bit.active( value ) );
      }
      real().write32( address, value );
   }

 private:
   Vor::Ptr<RealTimeHam> const simulated_;
   std::vector<Sim::SimulatedCard::Output> const outputs_;
   Sim::CardEvents & events_;
};

// What happens to the hardware itself: the services around the card are its agent's.
Sim::Scenario faultsOf( Sim::Scenario scenario ) {
   for ( Sim::Event & event : scenario.events )
      std::erase_if( event.actions, []( Sim::Action const & action ) {
         return Sim::typeOf( action ).takes != Sim::ActionTakes::fault_;
      } );
   return scenario;
}

std::string const & socketOf( Input::CardDescription const & card ) {
   auto const * access = std::get_if<Input::SimulatedAccess>( &card.access );
   if ( !access || access->socket.empty() )
      throw Input::InputError(
         card.file +
         ": /access: expected a simulated card with a \"socket\", where its hardware can be reached; found " +
         ( access ? "none" : "a card in the machine" ) );
   return access->socket;
}

// Readable when one of the signals has come that end a command, which then do nothing else.
int stopSignals() {
   sigset_t signals;
   ::sigemptyset( &signals );
   ::sigaddset( &signals, SIGINT );
   ::sigaddset( &signals, SIGTERM );
   ::sigprocmask( SIG_BLOCK, &signals, nullptr );
   return ::signalfd( -1, &signals, SFD_CLOEXEC );
}

}   // namespace

int hardware( HardwareOptions const & options ) {
   Descriptor const stop( stopSignals() );
   Input::JsonDocument const file = Input::readJson( options.file );
   bool const isScenario = file.root().object().has( "card" );
   Input::CardDescription const card =
      isScenario ? Input::cardOfScenario( file.root() ) : Input::cardDescription( file.root() );
   std::string const & socket = socketOf( card );
   Sim::Scenario const scenario = isScenario ? faultsOf( Input::readScenario( file.root(), card ) ) : Sim::Scenario();
   std::optional<Recording::LogFile> log;
   std::vector<std::string> inputs = card.files();
   inputs.push_back( options.file );
   if ( options.events )
      log.emplace( *options.events, 1, inputs );   // whatever ends the process, its log has what happened

   Sim::SimulatedCard::Parameters const built = scenario.built ? *scenario.built : simulatedParameters( card );
   Vor::Ptr<RealTimeHam> const simulated = new RealTimeHam( "hamImpl", built );
   Sim::CardEvents events( simulated->clock() );
   if ( log ) {
      log->log().onRecording( { .program = CLOCKPATH_VERSION, .began = wallTime(), .card = card, .start = {} } );
      events.listenerAdd( log->log() );
   }
   events.cardAdd( simulated->card() );
   Sim::ScenarioRunner const faults( simulated->clock(), events, { .cards = { &simulated->card() } }, scenario );
   HardwareServer server( socket, new OutputsHam( simulated, built.outputs, events ) );
   std::cout << "the hardware of " << card.file << " is at " << socket << ", until SIGINT or SIGTERM" << std::endl;
   server.run( stop.fd() );
   if ( log ) log->finish();
   return exitReady;
}

}   // namespace Host
