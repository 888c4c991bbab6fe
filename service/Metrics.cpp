#include "service/Metrics.h"

#include "framework/ActivityManager.h"
#include "hal/Max24305Hal.h"
#include "service/WallTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Host {

namespace {

double metricsNow() { return Vor::activityManager().config().clock()->now(); }

constexpr char chipPrefix[] = "clockpath_chip_";

}   // namespace

// Families of samples, each behind its head; without a sample there is none.
class Metrics::Text {
 public:
   using Labels = std::vector<std::pair<std::string_view, std::string_view>>;

   void family( std::string name, char const * type, char const * help ) {
      head_ = fmt::format( "# HELP {} {}\n# TYPE {} {}\n", name, help, name, type );
      name_ = std::move( name );
   }
   void sample( Labels const & labels, auto value, char const * part = "" ) {
      text_ += std::exchange( head_, "" ) + name_ + part;
      char before = '{';
      for ( auto const & [label, is] : labels )
         text_ += fmt::format( "{}{}=\"{}\"", std::exchange( before, ',' ), label, escaped( is ) );
      text_ += fmt::format( "{} {}\n", before == ',' ? "}" : "", value );
   }
   // One sample for each state, 1 at the one that stands.
   template<class State> void states( State state, Labels labels = {} ) {
      labels.emplace_back();
      for ( Vor::Enumerator const & one : enumType( state ).enumerators() ) {
         labels.back() = { "state", one.text };
         sample( labels, int( one.value == static_cast<U32>( state ) ) );
      }
   }
   std::string const & text() const { return text_; }

 private:
   static std::string escaped( std::string_view value ) {
      std::string text;
      for ( char const one : value ) {
         if ( one == '\\' || one == '"' ) text += '\\';
         text += one == '\n' ? "\\n" : std::string( 1, one );
      }
      return text;
   }

   std::string name_;
   std::string head_;
   std::string text_;
};

Metrics::Metrics(
   Card const & card, Vor::Ptr<AgentStatus const> const & agent, StatePublisher const & state, ClockWatch const & watch,
   Hand hand )
   : card_( card ), agent_( agent ), state_( state ), watch_( watch ), hand_( std::move( hand ) ) {
   for ( Sim::ScenarioChip const & chip : card.description().scenarioChips() ) counts_[chip.name];
}

double Metrics::longestWait() const { return news_ ? 0 : std::max( 0.0, handedAt_ + periodSeconds - metricsNow() ); }

void Metrics::look() {
   if ( longestWait() > 0 ) return;
   news_ = false;
   handedAt_ = metricsNow();
   hand_( text() );
}

void Metrics::cardChanged( CardChange const & change ) {
   for ( std::string const & chip : change.gone ) counts_.erase( chip );
   for ( std::string const & chip : change.anew ) counts_[chip];
   news_ = true;
}

void Metrics::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   using namespace Hardware::Steps;
   look();   // what the steps before it have changed; since when a state stands is not known before its step is over
   Counts & chip = counts_[config.name().charPtr()];
   if ( std::holds_alternative<AttemptBegun>( step ) ) ++chip.attempts;
   if ( std::holds_alternative<LockPolled>( step ) ) ++chip.lockPolls;
   if ( auto const * const done = std::get_if<OperationDone>( &step ) ) {
      ++chip.operations;
      if ( done->outcome == Outcome::readMismatch_ ) ++chip.mismatches;
   }
   if ( std::holds_alternative<TolvanePublished>( step ) ) news_ = true;
   if ( auto const * const published = std::get_if<Published>( &step ) ) {
      news_ = true;
      auto const since =
         published->state == Hardware::Max24305::locking_ ? std::optional( metricsNow() ) : std::nullopt;
      if ( published->state == Hardware::Max24305::ready_ && chip.locksSince ) {
         double const seconds = metricsNow() - *chip.locksSince;
         for ( std::size_t at = 0; at < lockBounds.size(); ++at ) chip.locked[at] += seconds <= lockBounds[at];
         ++chip.lockedCount;
         chip.lockedSeconds += seconds;
      }
      if ( !since || !chip.locksSince ) chip.locksSince = since;
   }
}

std::string Metrics::text() const {
   Text text;
   text.family( "clockpath_build_info", "gauge", "The program, always 1." );
   text.sample( { { "version", CLOCKPATH_VERSION } }, 1 );
   text.family( "clockpath_card_present", "gauge", "Whether the card is there." );
   text.sample( {}, int( card_.hamImpl()->hardwarePresent() ) );
   text.family( "clockpath_time_sync_state", "gauge", "State of time synchronisation, as the machines are told." );
   text.states( card_.timeSync()->state() );
   statesTell( text );
   countsTell( text );
   locksTell( text );
   watchedTell( text );
   return text.text();
}

void Metrics::statesTell( Text & text ) const {
   text.family( "clockpath_time_sync_source_state", "gauge", "The same, as its source says." );
   if ( std::string const said = agent_->timeSyncSource().stdString(); !said.empty() )   // it may be no known one
      for ( Vor::Enumerator const & one : enumType( PtpTimeSync::OperationalState{} ).enumerators() )
         text.sample( { { "state", one.text } }, int( said == one.text ) );
   text.family( "clockpath_chip_state", "gauge", "State of a chip." );
   for ( auto const & [name, status] : card_.tolvaneStatusDir()->members() )
      text.states( status->state(), { { "chip", name.charPtr() }, { "kind", "tolvane" } } );
   for ( auto const & [name, status] : card_.max24305StatusDir()->members() )
      text.states( status->state(), { { "chip", name.charPtr() }, { "kind", "max24305" } } );
   text.family( "clockpath_chip_state_seconds", "gauge", "How long a chip has been in its state." );
   for ( auto const & [chip, counts] : counts_ ) {
      U64 const since = state_.progress( chip )->stateSinceMs();
      U64 const now = wallMs();
      text.sample( { { "chip", chip } }, static_cast<double>( now > since ? now - since : 0 ) / 1000 );
   }
}

void Metrics::countsTell( Text & text ) const {
   struct Counter {
      char const * name;
      U64 Counts::*count;
      char const * help;
      bool max24305;   // of those alone
   };
   constexpr Counter counters[] = {
      { "attempts_total", &Counts::attempts, "Attempts to bring a chip up.", false },
      { "operations_total", &Counts::operations, "Operations of a chip's sequence.", true },
      { "lock_polls_total", &Counts::lockPolls, "How often a chip was asked whether it has locked.", true },
      { "mismatches_total", &Counts::mismatches, "Reads of a sequence that gave another value.", true } };
   for ( Counter const & one : counters ) {
      text.family( std::string( chipPrefix ) + one.name, "counter", one.help );
      for ( auto const & [chip, counts] : counts_ )
         if ( !one.max24305 || card_.description().max24305( chip ) )
            text.sample( { { "chip", chip } }, counts.*one.count );
   }
}

void Metrics::locksTell( Text & text ) const {
   text.family( "clockpath_chip_time_to_lock_seconds", "histogram", "From the end of programming until ready." );
   for ( auto const & [chip, counts] : counts_ ) {
      if ( !card_.description().max24305( chip ) ) continue;
      for ( std::size_t at = 0; at < lockBounds.size(); ++at )
         text.sample(
            { { "chip", chip }, { "le", fmt::format( "{}", lockBounds[at] ) } }, counts.locked[at], "_bucket" );
      text.sample( { { "chip", chip }, { "le", "+Inf" } }, counts.lockedCount, "_bucket" );
      text.sample( { { "chip", chip } }, counts.lockedSeconds, "_sum" );
      text.sample( { { "chip", chip } }, counts.lockedCount, "_count" );
   }
}

// Of chips that are ready, as they were seen last.
void Metrics::watchedTell( Text & text ) const {
   text.family( "clockpath_chip_watched_ok", "gauge", "Whether a ready chip was well when it was looked at last." );
   for ( auto const & [chip, audit] : watch_.seen() ) text.sample( { { "chip", chip } }, int( audit.well() ) );
   text.family( "clockpath_chip_locked", "gauge", "Whether a PLL of a ready chip was in lock then." );
   for ( auto const & [chip, audit] : watch_.seen() )
      if ( audit.apllStatus ) {
         Hardware::ApllStatus const locks( *audit.apllStatus );
         text.sample( { { "chip", chip }, { "apll", "1" } }, int( locks.apll1Locked() ) );
         text.sample( { { "chip", chip }, { "apll", "2" } }, int( locks.apll2Locked() ) );
      }
   text.family( "clockpath_chip_frequency_hertz", "gauge", "Frequency of a ready chip's output, as measured then." );
   for ( auto const & [chip, audit] : watch_.seen() )
      if ( audit.frequencyInHz ) text.sample( { { "chip", chip } }, *audit.frequencyInHz );
}

}   // namespace Host
