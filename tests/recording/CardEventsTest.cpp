#include "sim/CardEvents.h"

#include "hardware/Max24305Status.h"
#include "platform/ClockStatus.h"
#include "recording/EventLog.h"
#include "sim/SimulatedGpo.h"
#include "sim/SimulatedHam.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <thread>

namespace Sim {

using Recording::EventLog;

namespace {

constexpr char vorSource[] = "CardEventsTest";

Vor::TraceHandle traceHandle( "Test::Facility" );
Vor::LogHandle const logHandle( "TEST_MESSAGE", 3, "A cause.", "An event.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );

class CardEventsTest : public testing::Test {
 protected:
   CardEventsTest() {
      events.listenerAdd( log );
      events.cardAdd( card );
   }
   std::string text() {
      log.flush();
      return out.str();
   }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   SimulatedCard card{
      clock,
      { .outputs =
           { { .name = "ptp0Reset", .offset = 8192, .bit = 1 },
             { .name = "lowReset", .offset = 8192, .bit = 2, .activeType = Fru::activeLow_ } },
        .max24305s = { { .name = "ptp0", .configOffset = 256, .statusOffset = 512, .resetGpoName = "ptp0Reset" } } } };
   std::ostringstream out;
   EventLog log{ out };
   CardEvents events{ clock };
};

TEST_F( CardEventsTest, AccessesSleepsAndBusesInTheOrderInWhichTheyHappen ) {
   VirtualTime const virtualTime( clock );
   Vor::Ptr<Fru::HamImpl> const ham = new SimulatedHam( "kiv", card, events );
   U32 value = 0;
   ham->write32( 256, 3 );
   ham->write32( 256, 0 );
   ham->write32( 256, 0x30 );
   ham->write32( 256, 0x80001000 );
   timespec const fourMicroseconds{ 0, 4'000 };
   nanosleep( &fourMicroseconds, nullptr );
   ham->read32( 272, value );
   EXPECT_EQ( value, 0x8000005E );
   std::string const expected = R"json({"ns":0,"ev":"write32","address":256,"value":3}
{"ns":0,"ev":"write32","address":256,"value":0}
{"ns":0,"ev":"write32","address":256,"value":48}
{"ns":0,"ev":"write32","address":256,"value":2147487744}
{"ns":0,"ev":"sleep","forNs":4000}
{"ns":3200,"ev":"spi","chip":"ptp0","bytes":[3,0,48,0],"response":94}
{"ns":4000,"ev":"read32","address":272,"value":2147483742}
)json";
   EXPECT_EQ( text(), expected );
}

TEST_F( CardEventsTest, AnAccessWhereTheCardHasNoRegisterIsToldOfButIsNoLineOfItsOwn ) {
   struct : CardListener {
      void onUnclaimed( U64 ns, U32 address, AccessDirection direction ) override {
         story += std::to_string( ns ) + " " + unclaimedText( address, direction ) + "\n";
      }
      std::string story;
   } listener;
   events.listenerAdd( listener );
   clock->nowNsIs( 7 );
   Vor::Ptr<Fru::HamImpl> const ham = new SimulatedHam( "kiv", card, events );
   U32 value = 5;
   ham->read32( 0x4000, value );
   ham->write32( 0x4000, 1 );
   EXPECT_EQ( value, 0u );
   EXPECT_EQ(
      listener.story, "7 read of 0x4000, where the card has no register: it gives 0\n"
                      "7 write to 0x4000, where the card has no register: it is lost\n" );
   EXPECT_EQ( text(), R"json({"ns":7,"ev":"read32","address":16384,"value":0}
{"ns":7,"ev":"write32","address":16384,"value":1}
)json" );
}

TEST_F( CardEventsTest, AnOutputIsToldOfBeforeItsAccessesAndAlsoWhenItsLevelStays ) {
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "kiv" );
   ham->hamImplIs( new SimulatedHam( "kiv", card, events ) );
   Vor::Ptr<Hardware::SetClearGpo> const gpo = new SimulatedGpo( "lowReset", events );
   gpo->offsetIs( 8192 );
   gpo->bitIs( 2 );
   gpo->activeTypeIs( Fru::activeLow_ );
   gpo->impl()->doEnable();   // it has no handle yet
   gpo->hamIs( ham );
   gpo->impl()->doDisable();
   gpo->impl()->doDisable();
   gpo->impl()->doEnable();
   std::string const expected = R"json({"ns":0,"ev":"gpo","name":"lowReset","active":true}
{"ns":0,"ev":"gpo","name":"lowReset","active":false}
{"ns":0,"ev":"read32","address":8192,"value":0}
{"ns":0,"ev":"write32","address":8192,"value":4}
{"ns":0,"ev":"gpo","name":"lowReset","active":false}
{"ns":0,"ev":"read32","address":8192,"value":4}
{"ns":0,"ev":"write32","address":8192,"value":4}
{"ns":0,"ev":"gpo","name":"lowReset","active":true}
{"ns":0,"ev":"read32","address":8192,"value":4}
{"ns":0,"ev":"write32","address":8192,"value":0}
)json";
   EXPECT_EQ( text(), expected );
}

// Notes, in the event log's stream, that it was told.
struct Told : Hardware::Kiv::ClockStatus::NotifieeConst {
   Told( Vor::Ptr<Hardware::Kiv::ClockStatus> const & status, CardEvents & events ) : events( events ) {
      vorAttach( status );
   }
   void onState() override { events.tell( &CardListener::onGpo, "told", true ); }
   CardEvents & events;
};

TEST_F( CardEventsTest, AStateIsToldAsItIsStoredBeforeItsObservers ) {
   Vor::Ptr<Hardware::Kiv::ClockStatus> const clockStatus = Hardware::Kiv::clockStatusFactory( "ptp0" );
   Vor::Ptr<Hardware::Max24305::Status> const status =
      Hardware::Max24305::statusFactory( "ptp0", Fru::GenerationId( 1 ), Hardware::Max24305::timeSync_ );
   Vor::Ptr<Told> const told = new Told( clockStatus, events );
   events.statusAdd<Hardware::Kiv::ClockStatus>( clockStatus );
   events.statusAdd<Hardware::Max24305::Status>( status );
   clock->nowNsIs( 5 );
   status->stateIs( Hardware::Max24305::locking_ );
   status->stateIs( Hardware::Max24305::locking_ );
   clockStatus->stateIs( Hardware::Kiv::ClockStatus::failed_ );
   status->stateIs( static_cast<Hardware::Max24305::State>( 9 ) );
   EXPECT_EQ(
      text(), "{\"ns\":5,\"ev\":\"state\",\"entity\":\"" + status->fullName().stdString() +
                 "\",\"attr\":\"state\",\"value\":\"locking\"}\n"
                 "{\"ns\":5,\"ev\":\"state\",\"entity\":\"" +
                 clockStatus->fullName().stdString() + "\",\"attr\":\"state\",\"value\":\"" +
                 stringValue( Hardware::Kiv::ClockStatus::failed_ ).stdString() +
                 "\"}\n"
                 "{\"ns\":5,\"ev\":\"gpo\",\"name\":\"told\",\"active\":true}\n"
                 "{\"ns\":5,\"ev\":\"state\",\"entity\":\"" +
                 status->fullName().stdString() + "\",\"attr\":\"state\",\"value\":9}\n" );
}

TEST_F( CardEventsTest, TracesThatAreOnAndLoggedMessagesCome ) {
   traceHandle.levelIs( 1, true );
   VOR_TRACE( traceHandle, 0, "off" );
   VOR_TRACE( traceHandle, 1, "count = " << U8{ 10 } );
   traceHandle.levelIs( 1, false );
   Vor::log( logHandle.id(), nullptr, 0 );
   std::string const expected =
      R"json({"ns":0,"ev":"trace","facility":"Test::Facility","level":1,"source":"CardEventsTest","function":"TestBody","text":"count = \u000a"}
{"ns":0,"ev":"log","id":"TEST_MESSAGE"}
)json";
   EXPECT_EQ( text(), expected );
}

TEST_F( CardEventsTest, EveryListenerIsToldInTheOrderOfJoining ) {
   std::ostringstream second;
   EventLog secondLog( second );
   events.listenerAdd( secondLog );
   events.tell( &CardListener::onGpo, "a", true );
   secondLog.flush();
   EXPECT_EQ( second.str(), text() );
   EXPECT_NE( second.str(), "" );
}

struct CountingSink : Vor::TraceSink {
   void trace( Vor::TraceRecord const & ) override { ++count; }
   int count = 0;
};

TEST( CardEventsEndTest, WhoHadTracesBeforeGetsThemBack ) {
   Vor::Ptr<CountingSink> const sink = new CountingSink;
   Vor::Ptr<Vor::TraceSink> const first = Vor::traceSinkIs( sink );
   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   Vor::Ptr<Hardware::Kiv::ClockStatus> const status = Hardware::Kiv::clockStatusFactory( "ptp0" );
   std::ostringstream out;
   EventLog log( out );
   traceHandle.levelIs( 0, true );
   {
      CardEvents events( clock );
      events.listenerAdd( log );
      events.statusAdd<Hardware::Kiv::ClockStatus>( status );
      VOR_TRACE( traceHandle, 0, "to the log" );
   }
   VOR_TRACE( traceHandle, 0, "to the sink" );
   clock->sleep( 1 );
   status->stateIs( Hardware::Kiv::ClockStatus::ready_ );
   traceHandle.levelIs( 0, false );
   log.flush();
   EXPECT_EQ( sink->count, 1 );
   EXPECT_NE( out.str().find( "to the log" ), std::string::npos );
   EXPECT_EQ( out.str().find( "sleep" ), std::string::npos );
   EXPECT_EQ( out.str().find( "state" ), std::string::npos );
   EXPECT_EQ( Vor::traceSinkIs( first ), sink );
}

struct Sleeps final : CardListener {
   void onSleep( U64 ns, U64 forNs ) override { told.emplace_back( ns, forNs ); }
   std::vector<std::pair<U64, U64>> told;
};

TEST( RealTimeEventsTest, SleepsThatWaitAreToldAsTheyBegin ) {
   timespec const twoMilliseconds{ 0, 2'000'000 };
   timespec const wrong{ 0, -1 };
   Sleeps sleeps;
   {
      CardEvents events;
      events.listenerAdd( sleeps );
      nanosleep( &twoMilliseconds, nullptr );
      EXPECT_TRUE( sleeps.told.empty() ) << "told unasked";
      events.sleepsAdd();
      nanosleep( &twoMilliseconds, nullptr );
      EXPECT_EQ( nanosleep( &wrong, nullptr ), -1 );
      std::thread( [&] { nanosleep( &twoMilliseconds, nullptr ); } ).join();
      nanosleep( &twoMilliseconds, nullptr );
   }
   nanosleep( &twoMilliseconds, nullptr );
   ASSERT_EQ( sleeps.told.size(), 2u );
   EXPECT_GE( sleeps.told[0].first, 2'000'000u ) << "time counts from the start";
   EXPECT_GE( sleeps.told[1].first, sleeps.told[0].first + 4'000'000 );
   EXPECT_EQ( sleeps.told[0].second, 2'000'000u );
}

void assertAfterAnEvent() {
   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   clock->nowNsIs( 77 );
   EventLog log( std::cerr );
   CardEvents events( clock );
   events.listenerAdd( log );
   events.tell( &CardListener::onGpo, "last", true );
   VOR_ASSERT( clock->nowNs() == 78 );
}

TEST( CardEventsDeathTest, TheLogIsCompleteWhenAnAssertionEndsTheProcess ) {
   EXPECT_DEATH(
      assertAfterAnEvent(),
      "CardEventsTest:[0-9]+: .*Assertion .*\n"
      ".*\"ns\":77,\"ev\":\"gpo\",\"name\":\"last\",\"active\":true.\n"
      ".*\"ns\":77,\"ev\":\"abort\",\"expression\":\"clock->nowNs.. == 78\",\"source\":\"CardEventsTest\","
      "\"function\":\"void Sim::.*assertAfterAnEvent..\",\"line\":[0-9]+.\n" );
}

TEST( CardEventsDeathTest, TwoAtATimeStopTheProcess ) {
   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   CardEvents const events( clock );
   EXPECT_DEATH( CardEvents{ clock }, "CardEvents:[0-9]+: .*Assertion `!living' failed" );
}

}   // namespace
}   // namespace Sim
