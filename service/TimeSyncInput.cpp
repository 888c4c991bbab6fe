#include "service/TimeSyncInput.h"

#include "framework/ActivityManager.h"

#include <fmt/format.h>

#include <algorithm>

namespace Host {

namespace {

double clockNow() { return Vor::activityManager().config().clock()->now(); }

std::string wordOf( auto state ) { return stringValue( state ).stdString(); }

}   // namespace

// A card that was replaced goes and returns within one look at it: what its loss asks for is done in between. As the
// last of those who watch the handle, so that the machines have seen the loss, and a recording has one input after the
// other.
class TimeSyncInput::HardwareWatch final : public Fru::HamImpl::NotifieeConst {
 public:
   HardwareWatch( Vor::Ptr<Fru::HamImpl> const & hamImpl, TimeSyncInput & input ) : input_( input ) {
      vorAttach( hamImpl );
   }
   void onHardwarePresent() override {
      if ( !notifier()->hardwarePresent() ) input_.status_->heldBackIs( input_.handOn() );
   }
   void joinLast() {
      isRegisteredNotifieeIs( false );
      isRegisteredNotifieeIs( true );
   }

 private:
   TimeSyncInput & input_;
};

TimeSyncInput::TimeSyncInput( Card const & card, Vor::Ptr<AgentStatus> const & status )
   : card_( card ),
     status_( status ),
     hardware_( new HardwareWatch( card.hamImpl(), *this ) ),
     beganAt_( clockNow() ),
     mode_( card.redundancy()->mode() ) {}

TimeSyncInput::~TimeSyncInput() { hardware_->notifierIs( nullptr ); }

void TimeSyncInput::said( PtpTimeSync::OperationalState state ) {
   said_ = state;
   status_->timeSyncSourceIs( stringValue( state ) );
   look();
}

void TimeSyncInput::modeIs( Redundancy::RedundancyMode mode ) {
   mode_ = mode;
   look();
}

void TimeSyncInput::look() {
   hardware_->joinLast();   // machines may have been made since
   status_->heldBackIs( handOn() );
}

double TimeSyncInput::longestWait() const {
   return said_ ? 0 : std::max( 0.0, beganAt_ + firstAnswerSeconds - clockNow() );
}

// Gives what is held back, and why.
std::string TimeSyncInput::handOn() {
   auto const & timeSync = *card_.timeSync();
   auto const & redundancy = *card_.redundancy();
   std::string held;
   // No gate is stricter in any other mode.
   if ( !active() ) card_.redundancy()->modeIs( mode_ );
   if ( said_ ) {
      auto wanted = *said_;
      if ( std::string const chip = chipNotReady(); active() && running( wanted ) && !chip.empty() ) {
         wanted = PtpTimeSync::enabling_;
         held = fmt::format( "the supervisor is active, and {} is not ready", chip );
      }
      if ( wanted != timeSync.state() ) {
         std::string const chip = chipThatLocks();
         if ( chip.empty() || wanted == PtpTimeSync::disabled_ )
            card_.timeSync()->stateIs( wanted );
         else
            held = chip + " locks, and would be programmed again";
      }
      if ( !held.empty() ) held += fmt::format( ": the machines are told {}", wordOf( timeSync.state() ) );
   } else if ( mayBegin() )
      held = fmt::format( "the source has not answered: the machines are told {}", wordOf( timeSync.state() ) );
   else
      held = fmt::format( "the source has not answered yet: no machine is made for {} s", firstAnswerSeconds );
   if ( mode_ != redundancy.mode() ) {
      std::string const chip = chipNotReady();
      if ( !running( timeSync.state() ) || chip.empty() )
         card_.redundancy()->modeIs( mode_ );
      else
         held += fmt::format(
            "{}the mode stays {} until {} is ready or told otherwise", held.empty() ? "" : "; ",
            wordOf( redundancy.mode() ), chip );
   }
   return held;
}

std::string TimeSyncInput::chipThatLocks() const {
   for ( Input::Max24305Description const & chip : card_.description().max24305s )
      if ( card_.max24305StatusDir()->max24305( chip.name )->state() == Hardware::Max24305::locking_ ) return chip.name;
   return "";
}

std::string TimeSyncInput::chipNotReady() const {
   for ( Input::Max24305Description const & chip : card_.description().max24305s )
      if (
         card_.max24305StatusDir()->max24305( chip.name )->state() != Hardware::Max24305::ready_ ||
         card_.clockStatusOf( chip.name )->state() != Hardware::Kiv::ClockStatus::ready_ )
         return chip.name;
   return "";
}

std::string TimeSyncInput::whyRefused( PtpTimeSync::OperationalState state ) const {
   if ( !source_.empty() ) return source_ + " says what it is; an agent that is started without --ptp can be told";
   std::string const chip = chipNotReady();
   if ( !active() || !running( state ) || chip.empty() ) return "";
   return fmt::format(
      "the supervisor is active, and {} is not ready: at time sync {} its gate stops the process; set it when the chip "
      "is ready",
      chip, wordOf( state ) );
}

std::string TimeSyncInput::whyRefused( Redundancy::RedundancyMode mode ) const {
   std::string const chip = chipNotReady();
   if ( mode != Redundancy::active_ || !running( card_.timeSync()->state() ) || chip.empty() ) return "";
   return fmt::format(
      "time sync is {}, and {} is not ready: the gate of an active supervisor stops the process; set it when the chip "
      "is ready",
      wordOf( card_.timeSync()->state() ), chip );
}

std::string TimeSyncInput::whatToDoFirst() const {
   std::string const enabling = wordOf( PtpTimeSync::enabling_ );
   return source_.empty() ? fmt::format( "set time sync to {} first", enabling )
                          : fmt::format( "an agent that is started without --ptp can be told {} first", enabling );
}

std::string TimeSyncInput::whyRefused( std::string const & chip, std::string_view operation ) const {
   auto const state = card_.timeSync()->state();
   // Each operation of a Tolvane's machine brings its chip up again.
   auto const fed = std::ranges::find( card_.description().max24305s, chip, &Input::Max24305Description::tolvane );
   if ( fed != card_.description().max24305s.end() && active() && running( state ) )
      return fmt::format(
         "the supervisor is active and time sync is {}: {} feeds {}, whose gate stops the process as {} returns; {}",
         wordOf( state ), chip, fed->name, chip, whatToDoFirst() );
   if ( state == PtpTimeSync::disabled_ && ( operation == "doProgramMax24305" || operation == "doWaitForLock" ) )
      return fmt::format( "time sync is {}, for which {} stops the process", wordOf( state ), operation );
   return "";
}

std::string TimeSyncInput::whyRetryRefused( std::string const & chip ) const {
   auto const state = card_.timeSync()->state();
   if ( !active() || !running( state ) ) return "";
   auto const * const tolvane = card_.description().tolvane( chip );
   for ( Input::Max24305Description const & one : card_.description().max24305s )
      if ( one.name == chip || ( tolvane && ( one.tolvane == chip || one.resetGpoName == tolvane->resetGpoName ) ) )
         return fmt::format(
            "the supervisor is active and time sync is {}: the gate of {} stops the process before it is ready again; "
            "{}",
            wordOf( state ), one.name, whatToDoFirst() );
   return "";
}

}   // namespace Host
