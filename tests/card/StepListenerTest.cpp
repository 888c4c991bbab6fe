#include "card/StepListener.h"

#include "hardware/HwTolvane.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace Host;

struct Machine {
   Vor::Ptr<Hardware::Tolvane::Config const> config() const { return config_; }
   Vor::Ptr<Hardware::Tolvane::Config const> const config_ = Hardware::Tolvane::configFactory(
      "osc0", Fru::GenerationId( 1 ), 0, Fru::hamFactory( "ham" ), "reset", Hardware::Tolvane::timeSync_,
      Fru::SlotId( 1 ) );
};

class Hearing final : private StepListener {
 public:
   Hearing( std::string & heard, char name ) : heard_( heard ), name_( name ) {}
   void onStep( Vor::Entity const &, Hardware::Step const & ) override { heard_ += name_; }

 private:
   std::string & heard_;
   char const name_;
};

struct OuterSink final : Hardware::StepSink {
   explicit OuterSink( std::string & text ) : heard( text ) {}
   void step( Vor::Entity const &, Hardware::Step const & ) override { heard += 'o'; }
   std::string & heard;
};

TEST( StepListener, ManyHearTheStepsInTheOrderInWhichTheyCameAsLongAsTheyLive ) {
   Machine const machine;
   std::string heard;
   auto const told = [&] {
      Hardware::tellStep( machine, Hardware::Steps::ResetPulsed{} );
      return std::exchange( heard, "" );
   };
   Vor::Ptr<Hardware::StepSink> const outer = new OuterSink( heard );
   Hardware::stepSinkIs( outer );
   auto first = std::make_unique<Hearing>( heard, 'a' );
   auto second = std::make_unique<Hearing>( heard, 'b' );
   EXPECT_EQ( told(), "oab" );
   first.reset();
   EXPECT_EQ( told(), "ob" );
   {
      Hearing const third( heard, 'c' );
      EXPECT_EQ( told(), "obc" );
   }
   second.reset();
   EXPECT_EQ( told(), "o" );
   Hardware::stepSinkIs( nullptr );
}

TEST( StepListener, TheLastToGoGivesTheSinkBack ) {
   std::string heard;
   Vor::Ptr<Hardware::StepSink> const outer = new OuterSink( heard );
   Hardware::stepSinkIs( outer );
   { Hearing const one( heard, 'a' ); }
   EXPECT_EQ( Hardware::stepSinkIs( nullptr ), outer );
   { Hearing const one( heard, 'a' ); }
   EXPECT_FALSE( Hardware::stepsTold() );
}

}   // namespace
