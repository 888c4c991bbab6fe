#include "service/StatePublisher.h"

#include "service/WallTime.h"
#include "state/OpenLog.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

namespace Host {

namespace {

// An operation takes some ten microseconds: readers need not have each.
constexpr std::chrono::milliseconds operationsToldEvery( 10 );

// Ends, before its first turn, that the server follows another one.
class TakingOverSink final : public Vor::TurnSink {
 public:
   TakingOverSink( std::unique_ptr<Vor::TurnSink> sink, std::string place )
      : sink_( std::move( sink ) ), place_( std::move( place ) ) {}

   void append( Vor::LogTurn const & turn ) override {
      takeOver();
      sink_->append( turn );
   }
   Vor::LogPosition end() override {
      takeOver();
      return sink_->end();
   }
   Vor::LogPosition safe() const override { return sink_->safe(); }

 private:
   void takeOver() {
      if ( !taken_ ) State::takeOver( place_ );
      taken_ = true;
   }

   std::unique_ptr<Vor::TurnSink> const sink_;
   std::string const place_;
   bool taken_ = false;
};

}   // namespace

// Since when a state stands.
class StatePublisher::StateWatch final : public Vor::EntityObserver {
 public:
   StateWatch( Vor::Ptr<Vor::Entity const> const & status, Vor::Ptr<ChipProgress> const & progress )
      : progress_( progress ) {
      vorAttach( status );
   }
   void onAttribute( Vor::Entity const &, Vor::Attribute const & attribute, Vor::Value const & ) override {
      if ( attribute.name == "state" ) progress_->stateSinceMsIs( wallMs() );
   }

 private:
   Vor::Ptr<ChipProgress> const progress_;
};

StatePublisher::StatePublisher(
   Card const & card, Vor::Ptr<AgentStatus> const & agent, std::optional<std::string> const & place, U32 generation,
   bool takesOver )
   : card_( card ), generation_( generation ), agent_( agent ), chips_( Vor::entityFactory( "chip" ) ) {
   agent_->generationIs( generation );
   chips_->parentIs( agent_.ptr() );
   cardAdd();
   if ( !place ) return;
   std::unique_ptr<Vor::TurnSink> sink = State::openSink( *place );
   if ( takesOver ) sink = std::make_unique<TakingOverSink>( std::move( sink ), *place );
   log_.emplace( std::move( sink ), generation );
}

// What of the card is not published yet, and the progress of chips that have none.
void StatePublisher::cardAdd() {
   entities_ = card_.entities();
   for ( Vor::Ptr<Vor::Entity const> const & entity : entities_ ) writer_.entityAdd( entity );
   writer_.entityAdd( agent_ );
   writer_.entityAdd( chips_ );
   auto const add = [this]( Vor::Name const & name, Vor::Ptr<Vor::Entity const> const & status ) {
      std::string const chip = name.string().stdString();
      if ( progress_.contains( chip ) ) return;
      Vor::Ptr<ChipProgress> const made = chipProgressFactory( name );
      made->parentIs( chips_.ptr() );
      made->stateSinceMsIs( wallMs() );
      progress_[chip] = made;
      watches_[chip] = new StateWatch( status, made );
      writer_.entityAdd( made );
   };
   for ( auto const & [name, status] : card_.tolvaneStatusDir()->tolvane() ) add( name, status );
   for ( auto const & [name, status] : card_.max24305StatusDir()->max24305() ) add( name, status );
}

void StatePublisher::cardChanged( CardChange const & change ) {
   auto const now = card_.entities();
   for ( Vor::Ptr<Vor::Entity const> const & entity : entities_ )
      if ( std::ranges::find( now, entity ) == now.end() ) writer_.entityDel( entity );
   std::set<std::string> dropped = change.anew;
   dropped.insert( change.gone.begin(), change.gone.end() );
   for ( std::string const & chip : dropped )
      if ( auto const found = progress_.extract( chip ) ) {
         watches_.erase( chip );
         writer_.entityDel( found.mapped() );
         found.mapped()->parentIs( nullptr );
      }
   cardAdd();
}

StatePublisher::~StatePublisher() {
   for ( auto const & [name, progress] : progress_ ) progress->parentIs( nullptr );
   chips_->parentIs( nullptr );
}

void StatePublisher::begin() {
   begun_ = true;
   turnEnds();
}

void StatePublisher::turnEnds() {
   if ( !log_ || !begun_ ) return;
   if ( log_->wantsWhole() ) {
      writer_.whole( whole_ );
      log_->whole( whole_ );
   } else if ( !writer_.turn().empty() )
      log_->turn( writer_.turn() );
   else
      return;
   writer_.turnDone();
}

bool StatePublisher::writable() const { return !log_ || log_->written().generation == generation_; }

void StatePublisher::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   auto const chip = progress_.find( config.name().string().stdString() );
   if ( chip == progress_.end() ) return;
   std::visit( [&]( auto const & one ) { told( *chip->second, one ); }, step );
   turnEnds();
}

void StatePublisher::told( ChipProgress & chip, Hardware::Steps::GateEvaluated const & gate ) {
   for ( Hardware::GateRow const & row : gate.rows )
      chip.gateIs( row.condition, ( row.met ? "" : "not met: " ) + row.value );
}

void StatePublisher::told( ChipProgress & chip, Hardware::Steps::AttemptBegun const & attempt ) {
   agent_->activityIs( "bringing up " + chip.name().string() );
   chip.attemptsIs( attempt.of );
   chip.attemptIs( attempt.number );
   chip.operationIs( 0 );
   chip.pollIs( 0 );
}

void StatePublisher::told( ChipProgress & chip, Hardware::Steps::OperationDone const & operation ) {
   auto const now = std::chrono::steady_clock::now();
   bool const last = operation.place == operation.of || operation.outcome != Hardware::Steps::Outcome::done_;
   if ( !last && now - operationToldAt_ < operationsToldEvery ) return;
   operationToldAt_ = now;
   chip.operationsIs( operation.of );
   chip.operationIs( operation.place );
}

void StatePublisher::told( ChipProgress & chip, Hardware::Steps::LockPolled const & poll ) {
   chip.pollsIs( poll.of );
   chip.pollIs( poll.number );
}

}   // namespace Host
