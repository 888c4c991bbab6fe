#include "recording/RecordedHam.h"

#include "recording/EventLog.h"
#include "sim/VirtualClock.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Recording::RecordedHamTests {
namespace {

// Notes each access; what is read counts up.
struct Scripted final : Fru::HamImpl {
   explicit Scripted( std::ostream & story ) : HamImpl( "real" ), story( story ) { kindIs( "mmap" ); }
   void read32( U32 address, U32 & value ) override {
      value = ++reads;
      story << "real read " << address << '\n';
   }
   void write32( U32 address, U32 value ) override { story << "real write " << address << ' ' << value << '\n'; }
   std::ostream & story;
   U32 reads = 0;
};

struct Watcher final : Fru::HamImpl::NotifieeConst {
   explicit Watcher( Vor::Ptr<Fru::HamImpl const> const & ham ) { vorAttach( ham ); }
   void onHardwarePresent() override { ++told; }
   int told = 0;
};

class RecordedHamTest : public testing::Test {
 protected:
   RecordedHamTest() { events.listenerAdd( log ); }

   std::ostringstream story;
   Vor::Ptr<Scripted> const real = new Scripted( story );
   EventLog log{ story, 1 };
   Sim::CardEvents events{ new Sim::VirtualClock };
};

TEST_F( RecordedHamTest, EachAccessIsForwardedOnceUnchangedAndTold ) {
   Vor::Ptr<Fru::HamImpl> const ham = new RecordedHam( real, events );
   U32 value = 0;
   ham->read32( 272, value );
   EXPECT_EQ( value, 1u );
   ham->write32( 256, 0xFFFF'FFFF );
   ham->read32( 276, value );
   EXPECT_EQ( value, 2u );
   EXPECT_EQ(
      story.str(), "real read 272\n"
                   "{\"ns\":0,\"ev\":\"read32\",\"address\":272,\"value\":1}\n"
                   "{\"ns\":0,\"ev\":\"write32\",\"address\":256,\"value\":4294967295}\n"
                   "real write 256 4294967295\n"
                   "real read 276\n"
                   "{\"ns\":0,\"ev\":\"read32\",\"address\":276,\"value\":2}\n" );
}

TEST_F( RecordedHamTest, TheHardwareIsPresentWhileTheRealHandleSaysSo ) {
   real->sizeIs( 16384 );
   real->hardwarePresentIs( true );
   Vor::Ptr<Fru::HamImpl> const ham = new RecordedHam( real, events );
   EXPECT_TRUE( ham->hardwarePresent() );
   EXPECT_EQ( ham->kind(), "mmap" );
   EXPECT_EQ( ham->size(), 16384u );
   Vor::Ptr<Watcher> const watcher = new Watcher( ham );
   real->hardwarePresentIs( false );
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( watcher->told, 1 );
   real->hardwarePresentIs( true );
   EXPECT_TRUE( ham->hardwarePresent() );
   EXPECT_EQ( watcher->told, 2 );
}

TEST_F( RecordedHamTest, TheRealHandleOutlivesIt ) {
   Vor::Ptr<Fru::HamImpl>( new RecordedHam( real, events ) );
   real->hardwarePresentIs( true );
   EXPECT_TRUE( real->hardwarePresent() );
}

}   // namespace
}   // namespace Recording::RecordedHamTests
