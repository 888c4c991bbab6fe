#include "command/AgentCommand.h"

#include "card/Card.h"
#include "card/Machines.h"
#include "card/MmapHam.h"
#include "card/RealTimeHam.h"
#include "card/SimulatedWorld.h"
#include "framework/ActivityManager.h"
#include "platform/WatchedGpo.h"
#include "report/Journal.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/Exit.h"
#include "service/StopSignals.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

// How often the agent looks whether the card's file is there.
constexpr double presencePeriodSeconds = 0.25;

class Agent {
 public:
   Agent( Input::CardDescription const & description, AgentOptions const & options )
      : mmapHam_( mmapHamOf( description ) ),
        signals_( mmapHam_.ptr(), resetOutputsOf( description ) ),
        card_(
           description, mmapHam_ ? Vor::Ptr<Fru::HamImpl>( mmapHam_ ) : simulatedHamOf( description ),
           [this]( Vor::Name name ) { return gpo( name ); } ) {
      card_.timeSync()->stateIs( static_cast<PtpTimeSync::OperationalState>( options.timeSync ) );
      card_.redundancy()->modeIs( static_cast<Redundancy::RedundancyMode>( options.redundancyMode ) );
      configure( card_, inventoryOf( description, card_.ham() ) );
      for ( Input::Max24305Description const & chip : description.max24305s ) card_.handOver( chip.name );
      watch_.emplace( card_, journal_, options.traceLevel );
   }
   Agent( Agent const & ) = delete;
   Agent & operator=( Agent const & ) = delete;

   int run() {
      std::cout << cardText( card_.description(), journal_.style() ) << std::endl;
      look();   // first, so that each machine finds the card as it is
      if ( mmapHam_ && !mmapHam_->hardwarePresent() )
         journal_.line( "", "waiting for the card: " + mmapHam_->trouble() );
      machines_.emplace( card_ );
      while ( !signals_.stopAsked() && machines_->makeNext() ) signals_.underWayIs( nullptr );
      Vor::activityManager().run(
         [this] { return signals_.stopAsked(); },
         [this]( double seconds ) {
            signals_.underWayIs( nullptr );
            signals_.wait( mmapHam_ ? std::min( seconds, presencePeriodSeconds ) : seconds );
            if ( !signals_.stopAsked() ) look();
         } );
      bool const ready = card_.allReady();
      journal_.line( "", ready ? "stopped, all chips ready" : "stopped, not every chip ready" );
      return ready ? exitReady : exitNotReady;
   }

 private:
   static Vor::Ptr<MmapHam> mmapHamOf( Input::CardDescription const & description ) {
      auto const * access = std::get_if<Input::MmapAccess>( &description.access );
      return access ? new MmapHam( "hamImpl", access->path, access->offset, access->size ) : nullptr;
   }
   static Vor::Ptr<Fru::HamImpl> simulatedHamOf( Input::CardDescription const & description ) {
      Vor::Ptr<Fru::HamImpl> const ham = new RealTimeHam( "hamImpl", simulatedParameters( description ) );
      ham->hardwarePresentIs( true );
      return ham;
   }
   static std::vector<ResetOutput> resetOutputsOf( Input::CardDescription const & description ) {
      std::vector<ResetOutput> outputs;
      auto const add = [&]( std::string const & name ) {
         Input::GpoDescription const & gpo = *description.gpo( name );
         outputs.push_back( { gpo.offset, gpo } );
      };
      for ( Input::TolvaneDescription const & chip : description.tolvanes ) add( chip.resetGpoName );
      for ( Input::Max24305Description const & chip : description.max24305s ) add( chip.resetGpoName );
      return outputs;
   }

   Vor::Ptr<Hardware::SetClearGpo> gpo( Vor::Name const & name ) {
      return new Hardware::WatchedGpo( name, [this, name]( bool active ) {
         if ( !active ) return;
         std::string const * const chip = chipOf( name.string().stdString() );
         if ( !chip ) return;
         signals_.underWayIs( chip->c_str() );
         if ( watch_ ) watch_->resetPulseIs( *chip );
      } );
   }
   // The first chip of that reset output; the text belongs to the card's description.
   std::string const * chipOf( std::string const & resetGpoName ) const {
      for ( Input::TolvaneDescription const & chip : card_.description().tolvanes )
         if ( chip.resetGpoName == resetGpoName ) return &chip.name;
      for ( Input::Max24305Description const & chip : card_.description().max24305s )
         if ( chip.resetGpoName == resetGpoName ) return &chip.name;
      return nullptr;
   }

   // A card that comes or goes sets the machines to work inside this call.
   void look() {
      if ( mmapHam_ ) mmapHam_->poll();
      signals_.underWayIs( nullptr );
   }

   Journal const journal_{ styleOf( STDOUT_FILENO ), ::isatty( STDOUT_FILENO ) == 1 };
   Vor::Ptr<MmapHam> const mmapHam_;   // empty for a simulated card
   StopSignals signals_;
   Card card_;
   std::optional<JournalWatch> watch_;
   std::optional<Machines> machines_;
};

}   // namespace

int agent( AgentOptions const & options ) {
   Input::CardDescription const description = Input::readCard( options.card );
   requireServedInputs( description );
   return Agent( description, options ).run();
}

}   // namespace Host
