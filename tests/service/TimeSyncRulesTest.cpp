#include "service/TimeSyncRules.h"

#include <gtest/gtest.h>

#include <vector>

namespace Host::TimeSyncRulesTests {
namespace {

using Ptp::PortState;
using namespace PtpTimeSync;

TEST( TimeSyncRules, EachStateOfAPortMeansOne ) {
   struct Row {
      PortState port;
      OperationalState means;
   };
   constexpr Row rows[] = { { PortState::initializing_, enabling_ }, { PortState::faulty_, enabling_ },
                            { PortState::disabled_, disabled_ },     { PortState::listening_, enabling_ },
                            { PortState::preMaster_, enabling_ },    { PortState::master_, locked_ },
                            { PortState::passive_, enabling_ },      { PortState::uncalibrated_, acquiring_ },
                            { PortState::slave_, locked_ } };
   for ( Row const & row : rows ) EXPECT_EQ( timeSyncOf( row.port ), row.means ) << Ptp::textOf( row.port );
}

TEST( TimeSyncRules, OfSeveralPortsTheBestCounts ) {
   EXPECT_EQ( bestOf( {} ), std::nullopt );
   std::vector<Ptp::Port> ports{ { 1, PortState::disabled_ } };
   struct Row {
      PortState added;
      U16 best;
   };
   // Each as the next port.
   constexpr Row rows[] = {
      { PortState::faulty_, 2 },       { PortState::passive_, 3 },  { PortState::listening_, 3 },
      { PortState::uncalibrated_, 5 }, { PortState::disabled_, 5 }, { PortState::master_, 7 },
      { PortState::slave_, 8 },        { PortState::slave_, 8 },    { PortState::uncalibrated_, 8 } };
   for ( Row const & row : rows ) {
      ports.push_back( { static_cast<U16>( ports.size() + 1 ), row.added } );
      EXPECT_EQ( bestOf( ports )->number, row.best ) << ports.size() << " ports";
   }
}

TEST( TimeSyncRules, WhatWasLockedIsHeldOverForSoLong ) {
   for ( OperationalState const less : { disabled_, enabling_, acquiring_ } ) {
      Holdover holdover( 100 );
      EXPECT_EQ( holdover.stateOf( less, 0 ), less ) << "never locked";
      EXPECT_EQ( holdover.stateOf( locked_, 10 ), locked_ );
      EXPECT_EQ( holdover.stateOf( locked_, 500 ), locked_ );
      EXPECT_EQ( holdover.stateOf( less, 500 ), holdover_ );
      EXPECT_EQ( holdover.stateOf( less, 599.9 ), holdover_ ) << "since it was locked last";
      EXPECT_EQ( holdover.stateOf( less, 600 ), less );
      EXPECT_EQ( holdover.stateOf( less, 601 ), less );
      EXPECT_EQ( holdover.stateOf( locked_, 700 ), locked_ );
      EXPECT_EQ( holdover.stateOf( less, 701 ), holdover_ ) << "once more";
   }
}

TEST( TimeSyncRules, TheWayBackToLockedIsHoldover ) {
   Holdover holdover( 100 );
   holdover.stateOf( locked_, 1 );
   for ( OperationalState const found : { disabled_, enabling_, acquiring_ } )
      EXPECT_EQ( holdover.stateOf( found, 2 ), holdover_ );
   EXPECT_EQ( holdover.stateOf( locked_, 3 ), locked_ );
}

TEST( TimeSyncRules, WithoutAHoldoverNothingIsHeldOver ) {
   Holdover holdover( 0 );
   EXPECT_EQ( holdover.stateOf( locked_, 1 ), locked_ );
   EXPECT_EQ( holdover.stateOf( enabling_, 1 ), enabling_ );
   EXPECT_EQ( holdover.stateOf( disabled_, 2 ), disabled_ );
}

}   // namespace
}   // namespace Host::TimeSyncRulesTests
