#include "sim/Fault.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {
namespace {

TEST( FaultKindTest, TextsAndKindsBelongTogether ) {
   std::vector<std::string> const expected = { "spiDead",    "spiStuckWrite", "spiInvalid",  "spiExtra", "spiShift",
                                               "spiLate",    "misoStuck",     "bitFlip",     "bitStuck", "writeLost",
                                               "neverLock",  "loseLock",      "flapLock",    "slowLock", "chipReset",
                                               "resetStuck", "noPower",       "hardwareGone" };
   std::vector<std::string> texts;
   for ( FaultKind const kind : faultKinds() ) texts.emplace_back( faultKindText( kind ) );
   EXPECT_EQ( texts, expected );
}

TEST( FaultKindTest, EachKindFitsWhatItCanTrouble ) {
   for ( FaultKind const kind : faultKinds() ) {
      bool const ofTolvane = kind == FaultKind::noPower_ || kind == FaultKind::resetStuck_ ||
                             kind == FaultKind::bitFlip_ || kind == FaultKind::bitStuck_;
      bool const ofCard = kind == FaultKind::hardwareGone_;
      bool const ofMax24305 = kind != FaultKind::noPower_ && !ofCard;
      EXPECT_EQ( faultFits( kind, FaultTarget::tolvane_ ), ofTolvane ) << faultKindText( kind );
      EXPECT_EQ( faultFits( kind, FaultTarget::card_ ), ofCard ) << faultKindText( kind );
      EXPECT_EQ( faultFits( kind, FaultTarget::max24305_ ), ofMax24305 ) << faultKindText( kind );
   }
}

class FaultBoardTest : public testing::Test {
 protected:
   FaultBoardTest() {
      for ( FaultKind const kind : faultKinds() ) {
         std::string const name( faultKindText( kind ) );
         faults.listenerAdd( kind, FaultBoard::begins_, [this, name] { notes += "+" + name; } );
         faults.listenerAdd( kind, FaultBoard::spanEnds_, [this, name] { notes += "-" + name; } );
      }
   }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   FaultBoard faults{ *clock };
   std::string notes;
};

TEST_F( FaultBoardTest, WithoutAFaultNothingOccurs ) {
   for ( FaultKind const kind : faultKinds() ) {
      EXPECT_FALSE( faults.active( kind ) );
      EXPECT_EQ( faults.occurs( kind ), nullptr );
   }
   EXPECT_EQ( faults.asRead( 0, 0xFFFF0000 ), 0xFFFF0000 );
}

TEST_F( FaultBoardTest, BitsOfARegisterAreStuckAndFlippedInTheOrderInWhichTheFaultsBegan ) {
   faults.faultBegin( { .kind = FaultKind::bitStuck_, .address = 4, .mask = 0x80000003, .value = 0x7FFFFFFD } );
   EXPECT_EQ( faults.asRead( 4, 0x80000002 ), 0x00000001u );
   EXPECT_EQ( faults.asRead( 5, 0x80000002 ), 0x80000002u );
   faults.faultBegin( { .kind = FaultKind::bitFlip_, .address = 4, .mask = 0x01, .count = 1 } );
   EXPECT_EQ( faults.asRead( 4, 0x80000002 ), 0x00000000u );
   faults.faultBegin( { .kind = FaultKind::bitStuck_, .address = 4, .mask = 0x10, .value = 0x10, .count = 2 } );
   EXPECT_EQ( faults.asRead( 4, 0 ), 0x00000011u );
   EXPECT_EQ( faults.asRead( 4, 0 ), 0x00000011u );
   EXPECT_EQ( faults.asRead( 4, 0 ), 0x00000001u );
}

TEST_F( FaultBoardTest, OnlyThoseOfAllFaultsThatShowAreUsedUp ) {
   for ( U32 const mask : { 1u, 2u, 4u } )
      faults.faultBegin( { .kind = FaultKind::loseLock_, .mask = mask, .count = 1 } );
   std::vector<U32> masks;
   auto const showing = [&]( Fault const & fault ) {
      masks.push_back( fault.mask );
      return fault.mask == 2;
   };
   faults.occurEach( showing );
   faults.occurEach( showing );
   EXPECT_EQ( masks, ( std::vector<U32>{ 1, 2, 4, 1, 4 } ) );
}

TEST_F( FaultBoardTest, ACountIsUsedUpByItsOccurrencesOnly ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_, .count = 2 } );
   EXPECT_TRUE( faults.active( FaultKind::spiDead_ ) );
   EXPECT_TRUE( faults.active( FaultKind::spiDead_ ) );
   EXPECT_EQ( faults.occurs( FaultKind::spiExtra_ ), nullptr );
   EXPECT_NE( faults.occurs( FaultKind::spiDead_ ), nullptr );
   EXPECT_NE( faults.occurs( FaultKind::spiDead_ ), nullptr );
   EXPECT_FALSE( faults.active( FaultKind::spiDead_ ) );
   EXPECT_EQ( faults.occurs( FaultKind::spiDead_ ), nullptr );
   EXPECT_EQ( notes, "+spiDead" );
}

TEST_F( FaultBoardTest, ACountOfZeroIsNoFault ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_, .count = 0 } );
   EXPECT_FALSE( faults.active( FaultKind::spiDead_ ) );
}

TEST_F( FaultBoardTest, ASpanEndsAtItsNanosecondAndTellsSo ) {
   faults.faultBegin( { .kind = FaultKind::loseLock_, .forNs = 100 } );
   clock->nowNsIs( 99 );
   EXPECT_TRUE( faults.active( FaultKind::loseLock_ ) );
   EXPECT_EQ( notes, "+loseLock" );
   clock->nowNsIs( 100 );
   EXPECT_FALSE( faults.active( FaultKind::loseLock_ ) );
   EXPECT_EQ( notes, "+loseLock-loseLock" );
}

TEST_F( FaultBoardTest, TheFirstFaultOfAKindIsUsedUpFirst ) {
   faults.faultBegin( { .kind = FaultKind::slowLock_, .extraNs = 5, .count = 1 } );
   faults.faultBegin( { .kind = FaultKind::slowLock_, .extraNs = 7 } );
   EXPECT_EQ( faults.occurs( FaultKind::slowLock_ )->extraNs, 5u );
   EXPECT_EQ( faults.occurs( FaultKind::slowLock_ )->extraNs, 7u );
   EXPECT_EQ( faults.occurs( FaultKind::slowLock_ )->extraNs, 7u );
}

TEST_F( FaultBoardTest, AFaultWithSpanAndCountEndsByWhicheverComesFirst ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_, .forNs = 100, .count = 1 } );
   faults.occurs( FaultKind::spiDead_ );
   EXPECT_FALSE( faults.active( FaultKind::spiDead_ ) );
   faults.faultBegin( { .kind = FaultKind::spiDead_, .forNs = 100, .count = 5 } );
   clock->nowNsIs( 100 );
   EXPECT_FALSE( faults.active( FaultKind::spiDead_ ) );
}

}   // namespace
}   // namespace Sim
