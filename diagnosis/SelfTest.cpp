#include "diagnosis/SelfTest.h"

#include "hal/KivHal.h"
#include "util/Utils.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <bit>
#include <map>
#include <set>

namespace Diagnosis {

namespace {

// As long as the longest of the machines' own waits.
constexpr U32 settledNs = 500'000'000;
constexpr U32 repeats = 1'000;

using Names = std::set<std::string>;

// The chips that are there while an output is active, and after it.
struct Pulse {
   Names during;
   Names after;
};

class OfflineTest {
 public:
   OfflineTest(
      Input::CardDescription const & card, Host::RegisterAccess & access,
      std::function<void( std::string const & )> const & begins )
      : card_( card ), access_( access ), begins_( begins ) {
      for ( auto const & chip : card_.tolvanes ) outputOf_[chip.name] = chip.resetGpoName;
      for ( auto const & chip : card_.max24305s ) outputOf_[chip.name] = chip.resetGpoName;
   }

   std::vector<TestResult> run() {
      for ( auto const & [chip, output] : outputOf_ ) drive( output, false );
      Hardware::nsleep( settledNs );
      for ( auto const & chip : card_.max24305s ) access_.cleanUp( chip );
      atRest_ = present();
      for ( auto const & [chip, output] : outputOf_ ) {
         if ( pulses_.contains( output ) ) continue;   // several chips may share it
         begins_( "pulse of " + output );
         pulses_[output] = { pulsed( output, true ), pulsed( output, false ) };
      }
      for ( auto const & [chip, output] : outputOf_ ) results_.push_back( { chip, resetPoint( chip, output ) } );
      Names const there = present();
      for ( auto const & chip : card_.max24305s ) {
         if ( !there.contains( chip.name ) ) continue;
         begins_( "transfers of " + chip.name );
         transfers( chip );
      }
      for ( auto const & [chip, output] : outputOf_ ) drive( output, true );
      return std::move( results_ );
   }

 private:
   void drive( std::string const & output, bool active ) {
      Input::GpoDescription const & gpo = *card_.gpo( output );
      // Ones of a card that is gone stay where they are.
      if ( auto const word = access_.readWord( gpo.offset ) )
         access_.writeWord( gpo.offset, gpo.driven( *word, active ) );
   }

   Names pulsed( std::string const & output, bool active ) {
      drive( output, active );
      Hardware::nsleep( settledNs );
      return present();
   }

   // The chips that are there, the Tolvanes enabled.
   Names present() {
      for ( auto const & chip : card_.tolvanes ) {
         Hardware::TolvaneEnable enable( access_.readWord( chip.offset ).value_or( 0 ) );
         enable.enableIs( 1 );
         access_.writeWord( chip.offset, enable.value() );
      }
      Hardware::nsleep( settledNs );
      Names names;
      for ( ChipAudit const & audit : auditOf( card_, access_ ) )
         if ( audit.isThere() ) names.insert( audit.chip );
      return names;
   }

   Point resetPoint( std::string const & chip, std::string const & own ) const {
      bool const there = atRest_.contains( chip );
      std::vector<std::string> followed;
      for ( auto const & [output, pulse] : pulses_ )
         if ( pulse.during.contains( chip ) != there ) followed.push_back( output );
      auto const fails = []( std::string const & text ) { return Point{ "reset", false, text }; };
      if ( followed.empty() )
         return there ? fails( fmt::format( "pin without effect: the chip stays while {} is active", own ) )
                      : fails( fmt::format( "not there, whether {} is active or not", own ) );
      if ( pulses_.at( own ).during.contains( chip ) != there ) {
         if ( !there ) return fails( fmt::format( "wrong polarity: there only while {} is active", own ) );
         if ( followed.size() > 1 ) return fails( fmt::format( "vanishes with {}", fmt::join( followed, ", " ) ) );
         if ( !pulses_.at( own ).after.contains( chip ) )
            return fails( fmt::format( "does not return after {}", own ) );
         return { .name = "reset", .text = fmt::format( "vanishes and returns with {}", own ) };
      }
      std::vector<std::string> others;
      for ( auto const & [other, output] : outputOf_ )
         if ( output == followed.front() ) others.push_back( other );
      return fails( fmt::format(
         "swapped with {}: {} with {}, not {}", fmt::join( others, ", " ), there ? "vanishes" : "comes",
         followed.front(), own ) );
   }

   void transfers( Input::Max24305Description const & chip ) {
      // The sequence proves that the bits which it verifies as ones are there; others of the register need not be.
      U16 address = 0;
      U8 mask = 0;
      for ( Expectation const & expected : expectationsOf( chip ) ) {
         auto const bits = static_cast<U8>( expected.value & expected.mask );
         if ( expected.identification || expected.address == 0 || std::popcount( bits ) <= std::popcount( mask ) )
            continue;
         address = expected.address;
         mask = bits;
      }
      if ( mask == 0 ) return;
      constexpr std::array<U8, 12> patterns{ 0x00, 0xFF, 0x55, 0xAA, 1, 2, 4, 8, 16, 32, 64, 128 };
      std::array<U32, 8> wrongOfBit{};
      U32 wrong = 0;
      U32 unanswered = 0;
      for ( U32 i = 0; i < repeats; ++i ) {
         U8 const value = patterns[i % patterns.size()] & mask;
         bool const sent = access_.writeByte( chip, address, value );
         auto const found = access_.readByte( chip, address );
         if ( !sent || !found ) {
            ++unanswered;
            continue;
         }
         U32 const bits = ( *found ^ value ) & mask;
         wrong += bits != 0;
         for ( U32 bit = 0; bit < wrongOfBit.size(); ++bit ) wrongOfBit[bit] += bits >> bit & 1;
      }
      std::string text =
         fmt::format( "register 0x{:04x}, bits 0x{:02x}: {} of {} wrong", address, mask, wrong, repeats );
      if ( unanswered > 0 ) text += fmt::format( ", {} without answer", unanswered );
      for ( U32 bit = 0; bit < wrongOfBit.size(); ++bit )
         if ( wrongOfBit[bit] > 0 ) text += fmt::format( ", bit {}: {}", bit, wrongOfBit[bit] );
      results_.push_back( { chip.name, { "transfers", wrong == 0 && unanswered == 0, text } } );
   }

   Input::CardDescription const & card_;
   Host::RegisterAccess & access_;
   std::function<void( std::string const & )> const & begins_;
   std::map<std::string, std::string> outputOf_;   // by chip
   Names atRest_;                                  // the chips that are there while no output is active
   std::map<std::string, Pulse> pulses_;           // by output
   std::vector<TestResult> results_;
};

}   // namespace

std::vector<TestResult> offlineTest(
   Input::CardDescription const & card, Host::RegisterAccess & access,
   std::function<void( std::string const & )> const & begins ) {
   return OfflineTest( card, access, begins ).run();
}

}   // namespace Diagnosis
