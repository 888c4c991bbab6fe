#include "service/CauseTeller.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

namespace Host {

namespace {

// What is waited for comes within this, or it is told.
constexpr U64 longWaitNs = 30'000'000'000;

bool concerns( Diagnosis::Cause const & cause, std::string const & chip ) {
   return cause.chip == "card" || ( ", " + cause.chip + "," ).find( ", " + chip + "," ) != std::string::npos;
}

}   // namespace

CauseTeller::Kept::Kept( FailureFolder folder, Sim::CardEvents & events, Card const & card, std::string const & began )
   : folder( std::move( folder ) ), recorder( last, events, card, began ) {}

CauseTeller::CauseTeller(
   Sim::CardEvents & events, Card const & card, Journal & journal, std::optional<FailureFolder> folder,
   std::string const & began )
   : events_( events ),
     journal_( journal ),
     stream_( [this]( Recording::Event const & event ) { take( event ); } ),
     recorder_( stream_, events, card, began ) {
   if ( folder ) kept_.emplace( std::move( *folder ), events, card, began );
   story_.emplace( stream_.header() );
}

CauseTeller::~CauseTeller() {
   events_.listenerDel( stream_ );
   if ( kept_ ) events_.listenerDel( kept_->last );
}

void CauseTeller::look() {
   if ( !std::exchange( news_, false ) && events_.nowNs() < waitsEndNs_ ) return;
   std::vector<Diagnosis::Cause> causes = Diagnosis::causesOf( *story_ );
   std::erase_if( causes, [this]( Diagnosis::Cause const & cause ) {
      // What a machine still waits for may come.
      bool const done = std::ranges::any_of( story_->chips(), [&]( Diagnosis::ChipStory const & chip ) {
         return chip.name == cause.chip && ( chip.ready() || chip.state == "failed" );
      } );
      return cause.weight != Diagnosis::Weight::cause_ || ( !done && events_.nowNs() < cause.sinceNs + longWaitNs );
   } );
   causes.insert( causes.end(), before_.begin(), before_.end() );
   for ( Diagnosis::Cause const & cause : causes ) {
      bool const told = std::ranges::any_of( causes_, [&]( Diagnosis::Cause const & earlier ) {
         return earlier.chip == cause.chip && earlier.what == cause.what;
      } );
      if ( !told ) journal_.text( Diagnosis::causesText( { cause }, journal_.style() ) );
   }
   causes_ = std::move( causes );
   for ( std::string const & chip : failed_ ) keep( chip );
   failed_.clear();
   waitsEndNs_ = firstWaitEndNs();
}

std::map<std::string, std::string> CauseTeller::byChip() const {
   std::map<std::string, std::string> first;
   for ( Diagnosis::ChipStory const & chip : story_->chips() ) {
      auto const cause =
         std::ranges::find_if( causes_, [&]( Diagnosis::Cause const & one ) { return concerns( one, chip.name ); } );
      first[chip.name] = cause == causes_.end() ? "" : cause->what;
   }
   return first;
}

std::vector<Diagnosis::Cause> CauseTeller::causesOfOthers( CardChange const & change ) const {
   std::vector<Diagnosis::Cause> others = causes_;
   std::erase_if( others, [&]( Diagnosis::Cause const & cause ) {
      auto const concerned = [&]( std::string const & chip ) { return concerns( cause, chip ); };
      return std::ranges::any_of( change.anew, concerned ) || std::ranges::any_of( change.gone, concerned );
   } );
   return others;
}

double CauseTeller::longestWait() const {
   constexpr double nsPerSecond = 1e9;
   U64 const nowNs = events_.nowNs();
   if ( waitsEndNs_ == never ) return std::numeric_limits<double>::infinity();
   return waitsEndNs_ > nowNs ? static_cast<double>( waitsEndNs_ - nowNs ) / nsPerSecond : 0;
}

// Of those that are not over yet.
U64 CauseTeller::firstWaitEndNs() const {
   U64 first = never;
   for ( Diagnosis::ChipStory const & chip : story_->chips() )
      for ( Diagnosis::GateRow const & row : chip.gate ) {
         U64 const endNs = row.sinceNs + longWaitNs;
         if ( !row.met && endNs > events_.nowNs() ) first = std::min( first, endNs );
      }
   return first;
}

void CauseTeller::take( Recording::Event const & event ) {
   story_->take( event );
   news_ = true;
   auto const * const told = std::get_if<Recording::Step>( &event.what );
   if ( told )
      std::erase_if( before_, [&]( Diagnosis::Cause const & cause ) { return concerns( cause, told->chip ); } );
   if ( told && story_->chip( told->chip ).state == "failed" ) failed_.insert( told->chip );
   if ( told && story_->chip( told->chip ).ready() ) failed_.erase( told->chip );
}

// Where it cannot be, that is told, and all goes on.
void CauseTeller::keep( std::string const & chip ) {
   if ( !kept_ ) return;
   try {
      std::string const path = kept_->folder.keep( chip, kept_->last.text() );
      journal_.text( "  file   " + path + "  (clockpath replay " + path + ")\n" );
   } catch ( std::exception const & error ) {
      journal_.line( std::string( "the recording of the failure is not kept: " ) + error.what() );
   }
}

}   // namespace Host
