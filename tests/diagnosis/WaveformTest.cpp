#include "diagnosis/Waveform.h"

#include "card/SimulatedWorld.h"
#include "hal/KivHal.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <sstream>

namespace Diagnosis::WaveformTests {
namespace {

using testing::HasSubstr;

// What another program reads in the file.
class WaveformTest : public testing::Test {
 protected:
   void record( std::string const & card = Input::wholeCard ) const {
      Recording::LogFile file( folder.path( "events" ), Recording::EventLog::largePiece );
      Host::SimulatedWorld world( Input::cardOf( card ), {} );
      Recording::Recorder const recorder( file.log(), world.events(), world.card() );
      world.run();
      file.finish();
   }
   // As a real card's would be.
   void removeTransactions() const {
      std::istringstream lines( folder.content( "events" ) );
      std::string left;
      for ( std::string line; std::getline( lines, line ); )
         if ( line.find( R"("ev":"spi")" ) == std::string::npos ) left += line + "\n";
      folder.file( "events", left );
   }
   std::string waveform() const {
      Recording::Reader recording( folder.path( "events" ) );
      std::ofstream file( folder.path( "wave.vcd" ), std::ios::binary );
      writeWaveform( recording, file );
      file.close();
      return folder.content( "wave.vcd" );
   }
   // The bytes of one direction ("mosi-data" or "miso-data") that the SPI decoder reads on a chip's bus.
   std::vector<U32> decoded( std::string const & chip, std::string const & direction ) const {
      std::string const command = "sigrok-cli -i '" + folder.path( "wave.vcd" ) +
                                  "' -I vcd:compress=10000 -P spi:clk=" + chip + ".sclk:mosi=" + chip +
                                  ".mosi:miso=" + chip + ".miso:cs=" + chip + ".cs_n -A spi=" + direction;
      std::vector<U32> bytes;
      std::FILE * const pipe = ::popen( command.c_str(), "r" );
      char line[64];
      while ( std::fgets( line, sizeof line, pipe ) )
         bytes.push_back(
            static_cast<U32>( std::stoul( std::string( line ).substr( sizeof "spi-1:" ), nullptr, 16 ) ) );
      EXPECT_EQ( ::pclose( pipe ), 0 ) << command << ": is sigrok-cli installed? scripts/setup test installs it";
      return bytes;
   }

   Input::Folder const folder;
};

TEST_F( WaveformTest, TheDecoderReadsEveryTransaction ) {
   record();
   waveform();
   std::map<std::string, std::vector<U32>> bytes;
   std::map<std::string, std::vector<U32>> answers;
   Recording::Reader recording( folder.path( "events" ) );
   while ( auto const event = recording.next() )
      if ( auto const * const spi = std::get_if<Recording::Spi>( &event->what ) ) {
         bytes[spi->chip].insert( bytes[spi->chip].end(), spi->bytes.begin(), spi->bytes.end() );
         for ( U32 const answer : { 0U, 0U, 0U, U32{ spi->response } } ) answers[spi->chip].push_back( answer );
      }
   EXPECT_EQ( bytes.size(), 2u );
   for ( auto const & [chip, expected] : bytes ) {
      EXPECT_EQ( decoded( chip, "mosi-data" ), expected ) << chip;
      EXPECT_EQ( decoded( chip, "miso-data" ), answers[chip] ) << chip;
   }
}

// The words of the FIFOs say the same, and are all that there is of a real card.
TEST_F( WaveformTest, TheDecoderReadsEveryWordWhereNobodySawTransactions ) {
   record();
   removeTransactions();
   waveform();
   std::vector<U32> bytes;
   std::vector<U32> answers;
   std::vector<std::size_t> unanswered;
   Recording::Reader recording( folder.path( "events" ) );
   U32 const base = recording.header().card.max24305( "ptp0" )->configOffset;
   while ( auto const event = recording.next() ) {
      auto const * const write = std::get_if<Recording::Write32>( &event->what );
      auto const * const read = std::get_if<Recording::Read32>( &event->what );
      if ( write && write->address == base ) {
         if ( Hardware::SpiCommandFifo( write->value ).recordResponse() ) unanswered.push_back( bytes.size() );
         bytes.push_back( write->value & 0xFF );
         answers.push_back( 0 );
      } else if ( read && read->address == base + Hardware::SpiResponseFifo::address() && read->value >> 31 ) {
         answers.at( unanswered.at( 0 ) ) = read->value & 0xFF;
         unanswered.erase( unanswered.begin() );
      }
   }
   EXPECT_GT( bytes.size(), 12u );
   EXPECT_EQ( decoded( "ptp0", "mosi-data" ), bytes );
   EXPECT_EQ( decoded( "ptp0", "miso-data" ), answers );
}

// A byte is 8 bits of the described clock, sampled in the middle, and chip select is held for the four.
TEST_F( WaveformTest, TheEdgesFollowTheDescribedClock ) {
   record( Input::with(
      Input::wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "simulated", "spiClockInHz": 5000000 })" ) );
   std::string const text = waveform();
   EXPECT_THAT( text, HasSubstr( "edges of the SPI buses are reconstructed" ) );
   EXPECT_THAT( text, HasSubstr( "$timescale 1 ns $end" ) );
   std::map<std::string, std::string> names;
   std::map<std::string, std::vector<U64>> rises;
   std::map<std::string, std::vector<U64>> falls;
   std::istringstream lines( text );
   U64 ns = 0;
   for ( std::string line; std::getline( lines, line ); ) {
      std::istringstream words( line );
      std::string var, wire, one, id, name;
      if ( line.starts_with( "$var" ) && words >> var >> wire >> one >> id >> name ) names[id] = name;
      if ( line.starts_with( "#" ) ) ns = std::stoull( line.substr( 1 ) );
      if ( ns > 0 && line[0] == '1' ) rises[names.at( line.substr( 1 ) )].push_back( ns );
      if ( ns > 0 && line[0] == '0' ) falls[names.at( line.substr( 1 ) )].push_back( ns );
   }
   U64 const begin = falls["ptp0.cs_n"].at( 0 );
   EXPECT_EQ( rises["ptp0.cs_n"].at( 0 ), begin + 6'400 );
   for ( U64 bit = 0; bit < 32; ++bit ) {
      EXPECT_EQ( rises["ptp0.sclk"].at( bit ), begin + bit * 200 + 100 );
      EXPECT_EQ( falls["ptp0.sclk"].at( bit ), begin + bit * 200 + 200 );
   }
   EXPECT_EQ( rises["ptp0.state.locking"].size(), 1u );
   EXPECT_EQ( falls["ptp0.state.locking"], rises["ptp0.state.ready"] );
   EXPECT_GE( rises["ptp0.state.ready"].at( 0 ), rises["ptp0.apll1Locked"].at( 0 ) );
   EXPECT_EQ( rises["ptp0.clock.ready"].size(), 1u );
   EXPECT_EQ( rises["osc0.state.ready"].size(), 1u );
   EXPECT_LT( falls["ptp0Reset"].at( 0 ), begin );
}

TEST_F( WaveformTest, AResetOfTheMasterEndsWhatIsUnderWay ) {
   {
      Recording::LogFile file( folder.path( "events" ), Recording::EventLog::largePiece );
      Recording::Header header;
      header.card = Input::cardOf( Input::wholeCard );
      file.log().onRecording( header );
      for ( U32 const data : { 0xA5U, 0x5AU, 0x33U } ) file.log().onWrite32( 10'000, 256, data );
      file.log().onWrite32( 11'700, 256 + Hardware::SpiReset::address(), 1 );   // as the third is sent
      file.log().onWrite32( 12'000, 256 + Hardware::SpiReset::address(), 0 );
      for ( U32 const data : { 0x11U, 0x80000022U } ) file.log().onWrite32( 20'000, 256, data );
      file.finish();
   }
   waveform();
   EXPECT_EQ( decoded( "ptp0", "mosi-data" ), ( std::vector<U32>{ 0xA5, 0x5A, 0x11, 0x22 } ) );
}

}   // namespace
}   // namespace Diagnosis::WaveformTests
