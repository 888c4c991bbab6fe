#include "service/Agent.h"

#include "framework/ActivityManager.h"
#include "input/InputError.h"
#include "recording/RecordedHam.h"
#include "report/Style.h"
#include "service/Exit.h"
#include "service/WallTime.h"
#include "sim/SimulatedGpo.h"
#include "state/OpenLog.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

std::vector<Input::GpoDescription> resetOutputsOf( Input::CardDescription const & description ) {
   std::vector<Input::GpoDescription> outputs;
   for ( auto const & chip : description.tolvanes ) outputs.push_back( *description.gpo( chip.resetGpoName ) );
   for ( auto const & chip : description.max24305s ) outputs.push_back( *description.gpo( chip.resetGpoName ) );
   return outputs;
}

// Each line is written as it ends: whatever stops the agent, its log has what happened.
std::optional<Recording::LogFile> logFileOf( Input::CardDescription const & card, AgentOptions const & options ) {
   std::optional<std::string> const & path = options.events;
   std::vector<std::string> inputs = card.files();
   inputs.push_back( options.state.value_or( "" ) );
   if ( path == Recording::LogFile::standardOutput )
      throw Input::InputError( "--events: the agent's standard output has its journal; expected a file, found \"-\"" );
   return path ? std::optional<Recording::LogFile>( std::in_place, *path, 1, inputs ) : std::nullopt;
}

// What stands in the log of the agent before this one, and the generation that follows it.
TakeOver publishedAt( AgentOptions const & options ) {
   TakeOver found{ .generation = options.generation, .published = {} };
   if ( !options.state ) return found;
   try {
      State::openSink( *options.state );   // where it is a file, there is one
      Vor::LogPosition const at = State::openSource( *options.state )->snapshot( found.published );
      if ( found.generation == 0 ) found.generation = at.generation + 1;
   } catch ( Vor::Exception const & error ) {
      std::cerr << "clockpath: the state that was published last cannot be read: " << error.what() << '\n';
      found.generation = std::max( found.generation, 1U );
   }
   return found;
}

// Whether its time sync was locked, or held over, when it published last: a text stands at the end of its value.
bool wasLocked( Vor::LogBatch const & published, AgentStatus const & status ) {
   std::string const agent = status.fullName().stdString();
   std::string_view source;
   for ( Vor::LogEntry const & entry : published )
      if ( entry.entity == agent && entry.attribute == "timeSyncSource" ) source = entry.value;
   return source.ends_with( stringValue( PtpTimeSync::locked_ ).stdString() ) ||
          source.ends_with( stringValue( PtpTimeSync::holdover_ ).stdString() );
}

// A supervisor that has lost its card has nothing left to do on it, not even to drive an output.
[[noreturn]] void fenced( U32 taker ) {
   std::cerr << fmt::format( "clockpath: the supervisor of generation {} has taken the card\n", taker );
   std::cout.flush();
   ::_exit( exitNotReady );
}

char const * textOf( Role role ) { return role == Role::single_ ? "single" : "active"; }

}   // namespace

Agent::Agent(
   Input::CardDescription const & description, AgentOptions const & options, ServiceManager & manager,
   std::optional<TakeOver> takeOver )
   : options_( options ),
     manager_( manager ),
     before_( takeOver ? std::move( *takeOver ) : publishedAt( options ) ),
     timerSlack_( options.timerSlackNs ),
     access_( description, options.role == Role::single_ ? 0 : before_.generation, pollSet_, fenced ),
     signals_( access_.mapped(), resetOutputsOf( description ), manager.present() ),
     log_( logFileOf( description, options ) ),
     card_(
        description, new Recording::RecordedHam( access_.ham(), events_ ),
        [this]( Vor::Name name ) {
           return Vor::Ptr<Hardware::SetClearGpo>( new Sim::SimulatedGpo( name, events_ ) );
        } ),
     status_( agentStatusFactory( "agent" ) ),
     input_( card_, status_ ),
     tracesOn_( Vor::traceLevels ) {   // a recording has all that can be told
   requireServedInputs( description );
   if ( access_.simulated() ) events_.cardAdd( access_.simulated()->card() );
   configure( card_, inventoryOf( description, card_.ham() ) );
   for ( Input::Max24305Description const & chip : description.max24305s ) card_.handOver( chip.name );
   status_->roleIs( textOf( options.role ) );
   status_->processIs( static_cast<U32>( ::getpid() ) );
   status_->cardIs( description.file );
   input_.modeIs(
      options.role == Role::single_ ? static_cast<Redundancy::RedundancyMode>( options.redundancyMode )
                                    : Redundancy::switchover_ );
   if ( options.timeSync && !options.ptp.socket )
      input_.said( static_cast<PtpTimeSync::OperationalState>( *options.timeSync ) );
   journalBegin();
   if ( options.metrics ) metricsPlace_.emplace( *options.metrics );
   pollSet_.descriptorAdd( signals_.descriptor(), [] {} );   // the loop asks for itself whether it is to stop
   machines_.emplace( card_ );
   requests_.emplace( card_, input_, *machines_, events_ );
   requests_->kindAdd( "role", [this]( Input::Json const & request ) { return roleAsked( request ); } );
   requests_->kindAdd( "position", [this]( Input::Json const & ) { return position(); } );
   if ( options.socket ) {
      control_.emplace(
         *options.socket, pollSet_, [this]( Input::Json const & request ) { return requests_->answer( request ); } );
      status_->socketIs( control_->path() );
   }
   if ( options.ptp.socket ) follow( options.ptp );
}

void Agent::follow( PtpOptions const & options ) {
   if ( !control_ ) throw Input::InputError( "--ptp: expected --socket, beside which the daemon's answers come" );
   input_.sourceIs( "the PTP daemon at " + *options.socket );
   ptp_.emplace(
      options, control_->path() + ".ptp", pollSet_, [this]( auto state ) { input_.said( state ); },
      [this]( std::string const & line ) { journal_->line( line ); } );
   if ( wasLocked( before_.published, *status_ ) ) ptp_->wasLocked();
}

void Agent::journalBegin() {
   journal_.emplace(
      std::cout, styleOf( STDOUT_FILENO ), ::isatty( STDOUT_FILENO ) == 1, events_, card_, options_.traceLevel,
      systemJournalOf( STDOUT_FILENO ) );
}

int Agent::run() {
   journal_->begin();
   awaitTimeSync();
   // What was published last stands until this agent has looked at the card.
   if ( ends() ) return ended();
   adopt();
   beginToTell();
   if ( !access_.present() ) journal_->line( "waiting for the card: " + access_.trouble() );
   makeMachines();
   if ( !ends() ) manager_.ready();
   Vor::activityManager().run(
      [this] { return ends(); },
      [this]( double ) {
         if ( signals_.reloadTaken() ) reload();
         look();
         betweenTurns();
         pollSet_.wait( longestWait() );
      } );
   teller_->look();
   status_->roleIs( standsBy_ ? "standby" : "stopped" );
   state_->turnEnds();
   return ended();
}

// A bring-up under way has the thread as long as it takes.
void Agent::makeMachines() {
   while ( !ends() && machines_->makeNext() ) {
      betweenTurns();
      input_.look();
   }
}

int Agent::ended() {
   if ( !standsBy_ ) manager_.stopping();
   bool const ready = card_.allReady();
   journal_->line(
      standsBy_ ? "stands by from now on"
      : ready   ? "stopped, all chips ready"
                : "stopped, not every chip ready" );
   if ( log_ ) log_->finish();
   if ( manager_.present() && signals_.stopAsked() ) return exitReady;
   return ready && !( teller_ && teller_->stands() ) && !stale_ ? exitReady : exitNotReady;
}

// Before the first answer no machine is made: each answer after it would be a change.
void Agent::awaitTimeSync() {
   if ( !input_.mayBegin() ) journal_->line( "waiting for the source of time synchronisation" );
   while ( !ends() && !input_.mayBegin() ) {
      if ( ptp_ ) ptp_->look();
      manager_.alive();
      double const ptp = ptp_ ? ptp_->longestWait() : input_.longestWait();
      pollSet_.wait( std::min( { input_.longestWait(), ptp, manager_.longestWait() } ) );
   }
   if ( !input_.answered() && !ends() ) journal_->line( "the source of time synchronisation does not answer" );
   input_.look();
}

// Chips that run already, before anything is recorded or published: both begin with the states that the machines find.
void Agent::adopt() {
   look();
   if ( before_.published.empty() || !access_.outlivesAgent() || !access_.present() ) return;
   RegisterAccess registers( card_.description(), card_.hamImpl() );
   adoption_.emplace( card_, before_.published, registers );
   adoption_->preset();
   input_.look();   // what was held back until they are ready
}

void Agent::beginToTell() {
   std::string const began = wallTime();
   FailureFolder const folder( options_.failures );
   if ( options_.forget ) folder.forget();
   events_.sleepsAdd();
   if ( manager_.present() ) events_.listenerAdd( *this );
   if ( log_ ) recorder_.emplace( log_->log(), events_, card_, began );
   chipsTell( began );
   state_.emplace( card_, status_, options_.state, before_.generation, options_.role == Role::active_ );
   watch_.emplace( card_, *state_, *journal_, events_, options_.watchSeconds );
   if ( metricsPlace_ ) {
      metrics_.emplace(
         card_, status_, *state_, *watch_, [this]( std::string text ) { metricsPlace_->textIs( std::move( text ) ); } );
      journal_->line( "metrics: " + metricsPlace_->told() );
   }
   if ( state_->log() ) pollSet_.descriptorAdd( state_->log()->descriptor(), [this] { lookAtLog(); } );
   if ( adoption_ )
      for ( auto const & [chip, reason] : adoption_->reasons() ) {
         std::string const text = reason.empty() ? "adopted as it runs" : "not adopted: " + reason;
         state_->progress( chip )->adoptedIs( text );
         journal_->line( fmt::format( "{}: {}", chip, text ) );
      }
   state_->begin();
   if ( adoption_ ) machines_.emplace( card_, adoption_->tolvanes() );   // where it was, for the requests
}

// States and causes, of the chips that the card has now.
void Agent::chipsTell( std::string const & began ) {
   statesAdd( events_, card_ );
   teller_.emplace(
      events_, card_, *journal_, log_ ? std::nullopt : std::optional<FailureFolder>( options_.failures ), began );
}

// What was looked at may have armed timers.
double Agent::longestWait() const {
   Vor::ActivityManager & manager = Vor::activityManager();
   double const seconds = std::max( 0.0, manager.nextTime() - manager.config().clock()->now() );
   double const ptp = ptp_ ? ptp_->longestWait() : seconds;
   double const told = metrics_ ? metrics_->longestWait() : seconds;
   return std::min(
      { seconds, ptp, told, watch_->longestWait(), teller_->longestWait(), access_.longestWait(),
        manager_.longestWait() } );
}

bool Agent::ends() const { return signals_.stopAsked() || standsBy_ || stale_; }

void Agent::betweenTurns() {
   signals_.underWayIs( nullptr );
   if ( control_ ) control_->busyWith( "" );
   status_->activityIs( "" );
   teller_->look();
   for ( auto const & [chip, cause] : teller_->byChip() ) state_->progress( chip )->causeIs( cause );
   watch_->look();
   if ( metrics_ ) metrics_->look();
   state_->turnEnds();
   manager_.alive();
   if ( manager_.present() ) manager_.statusIs( states() );
}

// An active supervisor serves as such once its state can be read by the other, and every chip is ready.
void Agent::lookAtRole() {
   if ( options_.role == Role::single_ || !state_->writable() ) return;
   constexpr char writableStage[] = "DovraWritable";
   if ( !card_.redundancy()->switchoverStage().value( writableStage ) ) {
      journal_->line( fmt::format( "the state log is written, generation {}", before_.generation ) );
      card_.redundancy()->switchoverStageIs( writableStage, true );
   }
   if ( card_.redundancy()->mode() == Redundancy::active_ || !card_.allReady() ) return;
   journal_->line( "serves as the active supervisor" );
   input_.modeIs( Redundancy::active_ );
}

void Agent::lookAtLog() {
   State::LogThread & log = *state_->log();
   log.changesTaken();
   if ( std::string const trouble = log.trouble(); trouble != trouble_ ) {
      journal_->line( trouble.empty() ? "the state log is written again" : "the state log: " + trouble );
      trouble_ = trouble;
   }
   if ( log.stale() && !stale_ ) {
      journal_->line( "another agent writes the state log: this one ends" );
      stale_ = true;
   }
}

void Agent::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   using namespace Hardware::Steps;
   // An operation takes some ten microseconds.
   if ( manager_.present() && state_ && !std::holds_alternative<OperationDone>( step ) ) manager_.statusIs( states() );
   if ( !std::holds_alternative<AttemptBegun>( step ) ) return;
   if ( ptp_ ) ptp_->rest();
   signals_.underWayIs( config.name().charPtr() );
   if ( control_ ) control_->busyWith( "the bring-up of " + config.name().string().stdString() );
}

// A bring-up sleeps at least every few milliseconds, or as long as it has to.
void Agent::onSleep( U64, U64 ) {
   manager_.alive();
   if ( signals_.stopAsked() ) manager_.stopping();
}

// What has changed outside sets the machines to work inside this call.
void Agent::look() {
   access_.look( [this] { input_.look(); } );
   if ( state_ ) lookAtRole();
   if ( ptp_ ) ptp_->look();
   input_.look();
}

Input::Json Agent::roleAsked( Input::Json const & request ) {
   if ( options_.role == Role::single_ )
      throw Input::InputError( "this agent is the only one of its card; expected one that was started with --role" );
   if ( request.value( "role", "" ) == "active" ) return { { "role", "active" }, { "generation", before_.generation } };
   standsBy_ = true;
   return { { "role", "standby" } };
}

// Where the state log stands.
Input::Json Agent::position() {
   Input::Json told = Input::Json::object();
   if ( !state_ || !state_->log() ) return told;
   auto const add = [&]( char const * name, Vor::LogPosition at ) { told[name] = { at.generation, at.number }; };
   add( "handed", state_->log()->handed() );
   add( "written", state_->log()->written() );
   add( "safe", state_->log()->safe() );
   return told;
}

// How the chips stand, on one line: "osc0 ready, ptp0 locking, attempt 1".
std::string Agent::states() const {
   if ( !access_.present() ) return "waiting for the card: " + access_.trouble();
   std::string text;
   for ( Sim::ScenarioChip const & chip : card_.description().scenarioChips() ) {
      auto const tolvane = card_.tolvaneStatusDir()->tolvane( chip.name );
      Vor::String const state = tolvane ? stringValue( tolvane->state() )
                                        : stringValue( card_.max24305StatusDir()->max24305( chip.name )->state() );
      text += fmt::format( "{}{} {}", text.empty() ? "" : ", ", chip.name, state.stdString() );
      U32 const attempt = state_->progress( chip.name )->attempt();
      if ( !card_.ready( chip.name ) && attempt > 0 ) text += fmt::format( ", attempt {}", attempt );
   }
   return text;
}

// Machines are made anew behind this, as at the start.
void Agent::reload() {
   manager_.reloading();
   Input::CardDescription description;
   CardChange change;
   try {
      if ( log_ ) throw Input::InputError( "--events: an event log has the card that it began with" );
      description = Input::readCard( card_.description().file );
      requireServedInputs( description );
      change = changeOf( card_.description(), description );
      if ( change.nothing() ) journal_->line( "the card description is read again: no chip is described otherwise" );
   } catch ( std::exception const & error ) {
      journal_->line(
         fmt::format( "the card description is not taken, and all goes on as it was: {}", error.what() ), Tone::bad_ );
   }
   if ( !change.nothing() ) take( std::move( description ), change );
   manager_.ready();
   makeMachines();
}

void Agent::take( Input::CardDescription description, CardChange const & change ) {
   std::vector<Diagnosis::Cause> causes = teller_->causesOfOthers( change );
   teller_.reset();
   machines_->del( change.anew );
   machines_->del( change.gone );
   events_.statusesDel();
   card_.descriptionIs( std::move( description ), change );
   journalBegin();
   chipsTell( wallTime() );
   teller_->causesAre( std::move( causes ) );
   state_->cardChanged( change );
   watch_->cardChanged( change );
   if ( metrics_ ) metrics_->cardChanged( change );
   signals_.outputsAre( resetOutputsOf( card_.description() ) );
   std::string text;
   for ( std::string const & chip : change.anew ) text += ( text.empty() ? "" : ", " ) + chip + " is made anew";
   for ( std::string const & chip : change.gone ) text += ( text.empty() ? "" : ", " ) + chip + " is left as it stands";
   journal_->line( "the card description is read again: " + text );
   input_.look();
}

}   // namespace Host
