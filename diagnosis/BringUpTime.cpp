#include "diagnosis/BringUpTime.h"

#include "card/SimulatedWorld.h"
#include "card/StepListener.h"

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;

namespace {

// Registers that the simulated chip keeps apart: one is written and never read, the other stays as it is at power-up.
constexpr U32 writtenRegister = 0x100;
constexpr U32 readRegister = 0x101;
constexpr U32 neverRead = 0x100;   // a read brings a byte

class Stopwatch final : Host::StepListener {
 public:
   explicit Stopwatch( Host::SimulatedWorld const & world ) : world_( world ) {}

   U64 attemptsNs() const { return lastAttemptNs_ - firstAttemptNs_; }   // between the first one's begin and the last's
   U64 lastsNs() const { return endNs_ - firstAttemptNs_; }

 private:
   void onStep( Vor::Entity const &, Hardware::Step const & step ) override {
      if ( auto const * begun = std::get_if<Hardware::Steps::AttemptBegun>( &step ) ) {
         lastAttemptNs_ = world_.nowNs();
         if ( begun->number == 1 ) firstAttemptNs_ = lastAttemptNs_;
      }
      if ( std::holds_alternative<Hardware::Steps::Published>( step ) ) endNs_ = world_.nowNs();
   }

   Host::SimulatedWorld const & world_;
   U64 firstAttemptNs_ = 0;
   U64 lastAttemptNs_ = 0;
   U64 endNs_ = 0;
};

// Brings up a card of this chip alone.
U64 measured( Input::CardDescription card, Input::Max24305Description const & chip, U64 ( Stopwatch::*ns )() const ) {
   card.max24305s.push_back( chip );
   Host::SimulatedWorld world( std::move( card ), {} );
   Stopwatch const watch( world );
   world.run();
   return ( watch.*ns )();
}

}   // namespace

BringUpTime bringUpTime( Input::Max24305Description const & chip, U64 spiClockInHz ) {
   Input::CardDescription card;
   card.access = Input::SimulatedAccess{ .spiClockInHz = spiClockInHz };
   Input::GpoDescription reset;
   reset.name = "reset";
   reset.offset = 0x2000;
   card.gpos.push_back( reset );

   Input::Max24305Description quick;
   quick.name = "chip";
   quick.configOffset = 0x100;
   quick.statusOffset = 0x200;
   quick.resetGpoName = reset.name;
   quick.clockStatus = quick.name;
   quick.input = Hardware::Max24305::stuffedClock_;
   quick.spiResetSupported = chip.spiResetSupported;
   for ( Op const & op : chip.sequence )
      quick.sequence.push_back(
         op.type == read_    ? Op( op.key, read_, readRegister, 0 )
         : op.type == write_ ? Op( op.key, write_, writtenRegister, 0 )
                             : op );
   Input::Max24305Description withoutLock = quick;
   withoutLock.simulatedApllStatus = 0;
   Input::Max24305Description failing = quick;
   failing.sequence.emplace_back( 0, read_, readRegister, neverRead );

   return {
      .bestNs = measured( card, quick, &Stopwatch::lastsNs ),
      .worstNs =
         measured( card, failing, &Stopwatch::attemptsNs ) + measured( card, withoutLock, &Stopwatch::lastsNs ) };
}

}   // namespace Diagnosis
