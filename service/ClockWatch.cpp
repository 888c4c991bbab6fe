#include "service/ClockWatch.h"

#include "framework/ActivityManager.h"
#include "platform/SimulationVmid.h"
#include "recording/AsideAccesses.h"
#include "service/WallTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace Host {

namespace {

double watchNow() { return Vor::activityManager().config().clock()->now(); }

}   // namespace

ClockWatch::ClockWatch(
   Card const & card, StatePublisher const & state, Journal const & journal, Sim::CardEvents & events,
   double periodSeconds )
   : card_( card ),
     state_( state ),
     journal_( journal ),
     events_( events ),
     periodSeconds_( periodSeconds ),
     nextAt_( watchNow() + periodSeconds ) {}

// Whether something is ready, and nothing locks. In simulation by the library itself no chip answers.
bool ClockWatch::quiet() const {
   if ( periodSeconds_ <= 0 || Hardware::simulationVmid() ) return false;
   auto const & max24305s = card_.max24305StatusDir()->members();
   if ( std::ranges::any_of(
           max24305s, []( auto const & member ) { return member.second->state() == Hardware::Max24305::locking_; } ) )
      return false;
   auto const chips = card_.description().scenarioChips();
   return std::ranges::any_of( chips, [this]( Sim::ScenarioChip const & chip ) { return card_.ready( chip.name ); } );
}

double ClockWatch::longestWait() const {
   return quiet() ? std::max( 0.0, nextAt_ - watchNow() ) : std::numeric_limits<double>::infinity();
}

void ClockWatch::look() {
   for ( Sim::ScenarioChip const & chip : card_.description().scenarioChips() )
      if ( !card_.ready( chip.name ) ) forget( chip.name );
   bool const idle = quiet();
   if ( idle && watchNow() < nextAt_ ) return;
   nextAt_ = watchNow() + periodSeconds_;
   if ( !idle ) return;
   Recording::AsideAccesses const aside( events_, "watch" );
   RegisterAccess access( card_.description(), card_.hamImpl() );
   for ( Input::TolvaneDescription const & chip : card_.description().tolvanes )
      if ( card_.ready( chip.name ) ) take( Diagnosis::auditOf( chip, access ) );
   for ( Input::Max24305Description const & chip : card_.description().max24305s )
      if ( card_.ready( chip.name ) ) {
         access.drain( chip );
         take( Diagnosis::auditOf( chip, access, Diagnosis::defaultTolerancePpm, Diagnosis::AuditDepth::clock_ ) );
         access.drain( chip );
      }
}

void ClockWatch::cardChanged( CardChange const & change ) {
   auto const described = [&]( auto const & chip ) {
      return change.anew.contains( chip.first ) || change.gone.contains( chip.first );
   };
   std::erase_if( seen_, described );
   std::erase_if( troubles_, described );
}

void ClockWatch::forget( std::string const & chip ) {
   seen_.erase( chip );
   if ( troubles_.erase( chip ) == 0 ) return;
   journal_.line( chip + ": no longer ready, and not watched" );
   state_.progress( chip )->watchedIs( "" );
   state_.progress( chip )->watchedSinceMsIs( 0 );
}

// Told by the name of what is wrong, as the measured values go up and down.
void ClockWatch::take( Diagnosis::ChipAudit const & audit ) {
   seen_[audit.chip] = audit;
   std::optional<Diagnosis::Point> const trouble = audit.trouble();
   std::string_view const name = trouble ? trouble->name : "";
   auto const told = troubles_.find( audit.chip );
   if ( name == ( told == troubles_.end() ? "" : told->second ) ) return;
   Vor::Ptr<ChipProgress> const progress = state_.progress( audit.chip );
   std::string const text = trouble ? textOf( *trouble ) : "";
   progress->watchedIs( text );
   if ( !trouble || told == troubles_.end() ) progress->watchedSinceMsIs( trouble ? wallMs() : 0 );
   journal_.line( fmt::format( "{}: {}", audit.chip, trouble ? "ready, but not well: " + text : "well again" ) );
   if ( trouble )
      troubles_[audit.chip] = name;
   else
      troubles_.erase( told );
}

}   // namespace Host
