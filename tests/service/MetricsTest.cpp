#include "service/Metrics.h"

#include "tests/input/Files.h"
#include "tests/service/LiveCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

namespace Host::MetricsTests {
namespace {

using testing::HasSubstr;

// The samples of a text by name and labels, and its families with their types; whatever is malformed is told.
struct Read {
   explicit Read( std::string const & text ) {
      std::istringstream lines( text );
      std::string described;
      for ( std::string line; std::getline( lines, line ); ) {
         std::istringstream words( line );
         std::string word;
         words >> word;
         if ( word == "#" ) {
            std::string what;
            std::string name;
            words >> what >> name;
            if ( what == "HELP" ) described = name;
            if ( what == "TYPE" ) {
               EXPECT_EQ( described, name ) << "a family is described before its samples";
               words >> types[name];
            }
            continue;
         }
         std::size_t const value = line.rfind( ' ' );
         std::string const sample = line.substr( 0, value );
         EXPECT_TRUE( samples.emplace( sample, std::stod( line.substr( value ) ) ).second ) << "twice: " << line;
         EXPECT_TRUE( sample.starts_with( described ) ) << "behind another family: " << line;
      }
      EXPECT_TRUE( text.ends_with( '\n' ) );
   }
   double at( std::string const & sample ) const {
      auto const found = samples.find( sample );
      if ( found == samples.end() ) ADD_FAILURE() << "there is no " << sample;
      return found == samples.end() ? -1 : found->second;
   }

   std::map<std::string, double> samples;
   std::map<std::string, std::string> types;
};

class MetricsTest : public testing::Test {
 protected:
   Read read() const { return Read( metrics.text() ); }
   void turn( double seconds ) {
      live.run( seconds );
      watch.look();
      metrics.look();
   }

   LiveCard live;
   std::ostringstream out;
   Journal journal{ out, Style( false ), false, live.world.events(), live.card(), std::nullopt };
   StatePublisher state{ live.card(), live.status, std::nullopt, 1, false };
   ClockWatch watch{ live.card(), state, journal, live.world.events(), 10 };
   std::vector<std::string> handed;
   Metrics metrics{
      live.card(), live.status, state, watch, [this]( std::string text ) { handed.push_back( std::move( text ) ); } };
};

TEST_F( MetricsTest, ABringUpWithFailuresIsCounted ) {
   live.hardware.faultBegin( "ptp0", { .kind = Sim::FaultKind::bitFlip_, .address = 48, .mask = 1, .count = 2 } );
   live.hardware.faultBegin( "ptp1", { .kind = Sim::FaultKind::neverLock_ } );
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   live.run( 20 );
   Read const told = read();
   EXPECT_EQ( told.at( R"(clockpath_chip_attempts_total{chip="osc0"})" ), 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_attempts_total{chip="ptp0"})" ), 3 );
   EXPECT_EQ( told.at( R"(clockpath_chip_mismatches_total{chip="ptp0"})" ), 2 );
   EXPECT_EQ( told.at( R"(clockpath_chip_operations_total{chip="ptp0"})" ), 1 + 1 + 3 );
   EXPECT_EQ( told.at( R"(clockpath_chip_mismatches_total{chip="ptp1"})" ), 0 );
   EXPECT_EQ( told.at( R"(clockpath_chip_state{chip="ptp0",kind="max24305",state="ready"})" ), 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_state{chip="ptp0",kind="max24305",state="locking"})" ), 0 );
   EXPECT_EQ( told.at( R"(clockpath_chip_state{chip="ptp1",kind="max24305",state="locking"})" ), 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_state{chip="osc0",kind="tolvane",state="ready"})" ), 1 );
   double const polls = told.at( R"(clockpath_chip_lock_polls_total{chip="ptp0"})" );
   EXPECT_GE( polls, 1 );
   // Locked at a poll, of which there is one each second.
   EXPECT_EQ( told.at( R"(clockpath_chip_time_to_lock_seconds_count{chip="ptp0"})" ), 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_time_to_lock_seconds_bucket{chip="ptp0",le="+Inf"})" ), 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_time_to_lock_seconds_bucket{chip="ptp0",le="10"})" ), 1 );
   double const seconds = told.at( R"(clockpath_chip_time_to_lock_seconds_sum{chip="ptp0"})" );
   EXPECT_GE( seconds, polls - 1 );
   EXPECT_LT( seconds, polls + 1 );
   EXPECT_EQ( told.at( R"(clockpath_chip_time_to_lock_seconds_bucket{chip="ptp0",le="1"})" ), seconds <= 1 ? 1 : 0 );
   EXPECT_EQ( told.at( R"(clockpath_chip_time_to_lock_seconds_count{chip="ptp1"})" ), 0 );
   live.run( 100 );
   Read const failed = read();
   EXPECT_EQ( failed.at( R"(clockpath_chip_state{chip="ptp1",kind="max24305",state="failed"})" ), 1 );
   EXPECT_EQ( failed.at( R"(clockpath_chip_lock_polls_total{chip="ptp1"})" ), 101 );
   EXPECT_EQ( failed.at( R"(clockpath_chip_time_to_lock_seconds_count{chip="ptp1"})" ), 0 );
}

TEST_F( MetricsTest, WhatIsSeenOfReadyChipsIsTold ) {
   live.input.said( PtpTimeSync::enabling_ );
   EXPECT_FALSE( read().types.contains( "clockpath_chip_watched_ok" ) ) << "nothing was looked at";
   live.makeMachines();
   live.run( 10 );
   turn( 1 );
   turn( 10 );
   Read const well = read();
   EXPECT_EQ( well.at( R"(clockpath_chip_watched_ok{chip="ptp0"})" ), 1 );
   EXPECT_EQ( well.at( R"(clockpath_chip_watched_ok{chip="osc0"})" ), 1 );
   EXPECT_EQ( well.at( R"(clockpath_chip_locked{chip="ptp0",apll="2"})" ), 1 );
   EXPECT_EQ( well.at( R"(clockpath_chip_frequency_hertz{chip="ptp0"})" ), 10'000'000 );
   live.hardware.faultBegin( "ptp0", { .kind = Sim::FaultKind::loseLock_, .mask = 0x10 } );
   turn( 11 );
   Read const lost = read();
   EXPECT_EQ( lost.at( R"(clockpath_chip_watched_ok{chip="ptp0"})" ), 0 );
   EXPECT_EQ( lost.at( R"(clockpath_chip_locked{chip="ptp0",apll="1"})" ), 1 );
   EXPECT_EQ( lost.at( R"(clockpath_chip_locked{chip="ptp0",apll="2"})" ), 0 );
   EXPECT_EQ( lost.at( R"(clockpath_chip_frequency_hertz{chip="ptp0"})" ), 0 );
   EXPECT_EQ( lost.at( R"(clockpath_chip_watched_ok{chip="ptp1"})" ), 1 );
}

TEST_F( MetricsTest, TheInputsAreTold ) {
   EXPECT_FALSE( read().types.contains( "clockpath_time_sync_source_state" ) ) << "it has said nothing";
   live.card().redundancy()->modeIs( Redundancy::active_ );
   live.input.modeIs( Redundancy::active_ );
   live.input.said( PtpTimeSync::locked_ );
   Read const told = read();
   EXPECT_EQ( told.at( R"(clockpath_time_sync_state{state="enabling"})" ), 1 ) << "the rest is held back";
   EXPECT_EQ( told.at( R"(clockpath_time_sync_state{state="locked"})" ), 0 );
   EXPECT_EQ( told.at( R"(clockpath_time_sync_source_state{state="locked"})" ), 1 );
   EXPECT_EQ( told.at( "clockpath_card_present" ), 1 );
   live.input.said( static_cast<PtpTimeSync::OperationalState>( 9 ) );
   EXPECT_EQ( read().at( R"(clockpath_time_sync_source_state{state="locked"})" ), 0 ) << "nor any other";
   live.card().hamImpl()->hardwarePresentIs( false );
   EXPECT_EQ( read().at( "clockpath_card_present" ), 0 );
   EXPECT_EQ( told.at( R"(clockpath_build_info{version=")" CLOCKPATH_VERSION R"("})" ), 1 );
   EXPECT_GE( told.at( R"(clockpath_chip_state_seconds{chip="ptp0"})" ), 0 );
}

TEST_F( MetricsTest, TheTextIsHandedOverWhenAStateHasChangedAndAfterAPeriod ) {
   metrics.look();
   EXPECT_EQ( handed.size(), 1u );
   EXPECT_NEAR( metrics.longestWait(), 10, 1e-6 );
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   // Inside of a bring-up, without a turn of the loop.
   std::string const locking = R"(clockpath_chip_state{chip="ptp0",kind="max24305",state="locking"} 1)";
   EXPECT_GE(
      std::ranges::count_if( handed, [&]( auto const & text ) { return text.find( locking ) != std::string::npos; } ),
      1 );
   live.run( 20 );
   metrics.look();
   std::size_t const before = handed.size();
   metrics.look();
   EXPECT_EQ( handed.size(), before );
   live.run( 10 );
   metrics.look();
   EXPECT_EQ( handed.size(), before + 1 );
}

// The document's table has these names and types, and no other.
TEST_F( MetricsTest, EachIsDescribed ) {
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   live.run( 10 );
   turn( 1 );
   turn( 10 );
   std::istringstream document( Input::readFile( CLOCKPATH_DOCS "metrics.md" ) );
   std::map<std::string, std::string> described;
   for ( std::string line; std::getline( document, line ); ) {
      if ( !line.starts_with( "| `clockpath_" ) ) continue;
      std::size_t const name = line.find( '`' ) + 1;
      std::size_t const type = line.find( "| ", name ) + 2;
      described[line.substr( name, line.find_first_of( "`{", name ) - name )] =
         line.substr( type, line.find( ' ', type ) - type );
   }
   EXPECT_EQ( described, read().types );
   EXPECT_GE( described.size(), 14u );
}

TEST_F( MetricsTest, PromtoolFindsNothingWrong ) {
   if ( std::system( "promtool --version >/dev/null 2>&1" ) != 0 ) GTEST_SKIP() << "there is no promtool";
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   live.run( 10 );
   turn( 1 );
   turn( 10 );
   Input::Folder const folder;
   std::string const file = folder.file( "metrics", metrics.text() );
   int const result = std::system( ( "promtool check metrics <'" + file + "' >'" + file + ".out' 2>&1" ).c_str() );
   EXPECT_EQ( result, 0 );
   EXPECT_EQ( folder.content( "metrics.out" ), "" );
}

}   // namespace

// Names may have what a label must escape.
TEST( MetricsText, LabelsAreEscaped ) {
   LiveCard live( Input::with( Input::wholeCard, R"("name": "ptp1",)", R"("name": "a\"b\\c",)" ) );
   std::ostringstream out;
   Journal const journal( out, Style( false ), false, live.world.events(), live.card(), std::nullopt );
   StatePublisher const state( live.card(), live.status, std::nullopt, 1, false );
   ClockWatch const watch( live.card(), state, journal, live.world.events(), 0 );
   Metrics const metrics( live.card(), live.status, state, watch, []( std::string const & ) {} );
   EXPECT_THAT( metrics.text(), HasSubstr( R"(clockpath_chip_attempts_total{chip="a\"b\\c"} 0)" ) );
}

}   // namespace Host::MetricsTests
