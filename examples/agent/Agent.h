// A complete agent of one's own, for one MAX24305 that a stuffed clock feeds: its entities, its machine, its loop.
#include <clockpath/framework/ActivityManager.h>
#include <clockpath/platform/SetClearGpo.h>
#include <clockpath/sm/Max24305WithStuffedClockInputSm.h>
#include <clockpath/sm/Steps.h>

#include <functional>
#include <iostream>

namespace Example {

using namespace Hardware;

// Told on the machine's thread, in the middle of a bring-up: it shows, and changes nothing.
class Progress final : public StepSink {
 public:
   void step( Vor::Entity const & config, Step const & step ) override {
      if ( auto const * begun = std::get_if<Steps::AttemptBegun>( &step ) )
         std::cout << config.name().string() << ": attempt " << begun->number << " of " << begun->of << std::endl;
      else if ( auto const * published = std::get_if<Steps::Published>( &step ) )
         std::cout << config.name().string() << ": " << stringValue( published->state ) << ", clock "
                   << stringValue( published->clock ) << std::endl;
   }
};

class Agent {
 public:
   // Nothing is touched yet: the sequence is not handed over, and the gate is closed.
   explicit Agent( Vor::Ptr<Fru::HamImpl> const & card ) {
      stepSinkIs( new Progress );   // before the machine, to miss nothing
      ham_->hamImplIs( card );      // before the configuration is used: the machine takes it once
      reset_->hamIs( ham_ );        // offset, bit and level before the machine may drive it
      reset_->offsetIs( 0x2000 );
      reset_->bitIs( 2 );
      reset_->activeTypeIs( Fru::activeLow_ );
      config_ = Max24305::configFactory(
         "ptp1", Fru::GenerationId( 1 ), 0x400, 0x500, ham_, reset_->name(), Max24305::timeSync_,
         Max24305::stuffedClock_, 25'000'000, Fru::SlotId( 3 ), true );
      status_ = Max24305::statusFactory( "ptp1", Fru::GenerationId( 1 ), Max24305::timeSync_ );
      timeSync_->stateIs( PtpTimeSync::enabling_ );   // running, and a mode of active, would want a ready chip
      redundancy_->modeIs( Redundancy::standby_ );
      machine_ = Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy_, config_, status_, clock_, timeSync_, reset_ );
   }
   ~Agent() { stepSinkIs( nullptr ); }

   // Hands the sequence over, once it is complete. Where the card is present this blocks until the chip is programmed.
   void begin() {
      using Max24305::Op;
      for ( Op const & op :
            { Op( 1, Max24305::write_, 0x10, 0x3c ), Op( 2, Max24305::sleep_, 0, 10'000'000 ),
              Op( 3, Max24305::write_, 0x11, 0x01 ) } )
         config_->opsToDoEnq( op );
      config_->opsToDoValidIs( true );
   }

   // `idle( seconds )` waits at most that long; it is where the host looks at its card, its files and its signals.
   void run( std::function<bool()> const & done, std::function<void( double )> const & idle ) {
      Vor::activityManager().run( done, idle );
   }

   Vor::Ptr<Max24305::Status> status() const { return status_; }

 private:
   Vor::Ptr<Fru::Ham> const ham_ = Fru::hamFactory( "ham" );
   Vor::Ptr<SetClearGpo> const reset_ = setClearGpoFactory( "ptp1Reset" );
   Vor::Ptr<PtpTimeSync::Status> const timeSync_ = PtpTimeSync::statusFactory( "timeSync" );
   Vor::Ptr<Redundancy::RedundancyStatus> const redundancy_ = Redundancy::redundancyStatusFactory( "redundancy" );
   Vor::Ptr<Kiv::ClockStatus> const clock_ = Kiv::clockStatusFactory( "ptp1" );
   Vor::Ptr<Max24305::Config> config_;
   Vor::Ptr<Max24305::Status> status_;
   Vor::Ptr<Max24305Sm> machine_;   // last: it goes first
};

}   // namespace Example
