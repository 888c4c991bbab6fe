#include "diagnosis/Audit.h"

#include "diagnosis/Warnings.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace Diagnosis {

namespace {

constexpr std::size_t detailsMax = 16;

std::vector<std::string> detailsOf( std::vector<RegisterDifference> const & differences ) {
   std::vector<std::string> details;
   for ( RegisterDifference const & difference : differences ) {
      if ( details.size() == detailsMax ) {
         details.push_back( fmt::format( "and {} more", differences.size() - detailsMax ) );
         break;
      }
      std::vector<U32> bits;
      for ( U32 bit = 0; bit < 32; ++bit )
         if ( difference.bits() >> bit & 1 ) bits.push_back( bit );
      std::string const found = difference.found ? fmt::format(
                                                      "found 0x{:02x}, bit{} {}", *difference.found,
                                                      bits.size() == 1 ? "" : "s", fmt::join( bits, ", " ) )
                                                 : "no answer";
      Expectation const & expected = difference.expected;
      details.push_back( fmt::format(
         "0x{:04x}  expected 0x{:02x}, {}: {}", expected.address, expected.value, found, expected.place ) );
   }
   return details;
}

// By the enumerator.
constexpr char const * answerTexts[] = {
   "answers", "no answer", "all ones: nothing drives the bus; see the chip's reset, its power and its wiring",
   "all zeros: the bus is held low; see the chip's reset, its power and its wiring" };

bool enabled( U32 word ) {
   Hardware::TolvaneEnable const enable( word );
   return enable.enable() || enable.powerGood();   // to its machine too either bit shows that the chip is there
}

}   // namespace

std::vector<Expectation> expectationsOf( Input::Max24305Description const & chip ) {
   std::map<U16, Expectation> expectations;
   std::set<U16> written;
   for ( std::size_t at = 0; at < chip.sequence.size(); ++at ) {
      Hardware::Max24305::Op const & op = chip.sequence[at];
      auto const reg = static_cast<U16>( op.address );
      if ( op.type == Hardware::Max24305::write_ ) {
         written.insert( reg );
         expectations.erase( reg );
      }
      if ( op.type != Hardware::Max24305::read_ || statusRegister( reg ) ) continue;
      auto const changing = chip.simulatedVolatile.find( reg );
      U8 const mask = changing == chip.simulatedVolatile.end() ? 0xFF : static_cast<U8>( ~changing->second );
      expectations[reg] = { reg, op.value, mask, !written.contains( reg ), chip.operationText( at ) };
   }
   std::vector<Expectation> all;
   all.reserve( expectations.size() );
   for ( auto const & [reg, expectation] : expectations ) all.push_back( expectation );
   return all;
}

ChipAudit auditOf(
   Input::Max24305Description const & chip, Host::RegisterAccess & access, double tolerancePpm, AuditDepth depth ) {
   using enum ChipAudit::Answer;
   ChipAudit audit{ .chip = chip.name, .wantedInHz = chip.outputFrequencyInHz };
   audit.toleranceInHz = toleranceInHz( audit.wantedInHz, tolerancePpm );
   audit.spiCtrl = access.readWord( chip.configOffset + Hardware::SpiCtrl::address() );
   audit.apllStatus = access.readByte( chip, Hardware::ApllStatus::address() );
   if ( !audit.apllStatus ) {
      audit.answer = none_;
      return audit;
   }
   U8 ones = *audit.apllStatus;     // bits that were 1 in all answers
   U8 either = *audit.apllStatus;   // bits that were 1 in any
   for ( Expectation const & expectation : expectationsOf( chip ) ) {
      bool const telling = expectation.identification || ( audit.verifiedCount == 0 && expectation.value != 0 );
      if ( depth == AuditDepth::clock_ && !telling ) continue;
      RegisterDifference const difference{ expectation, access.readByte( chip, expectation.address ) };
      ones &= difference.found.value_or( ones );
      either |= difference.found.value_or( 0 );
      ++( expectation.identification ? audit.identificationCount : audit.verifiedCount );
      if ( !difference.found || difference.bits() != 0 )
         ( expectation.identification ? audit.identification : audit.drift ).push_back( difference );
   }
   // Register 7 has bits that are never set; zeros are also what a chip holds that was just reset.
   if ( ones == 0xFF ) audit.answer = allOnes_;
   if ( either == 0 && !audit.identification.empty() ) audit.answer = allZeros_;
   audit.frequencyInHz = access.readWord( chip.statusOffset + Hardware::Max24305Status::address() );
   return audit;
}

ChipAudit auditOf( Input::TolvaneDescription const & chip, Host::RegisterAccess & access ) {
   ChipAudit audit{ .chip = chip.name };
   audit.enable = access.readWord( chip.offset + Hardware::TolvaneEnable::address() );
   if ( !audit.enable ) audit.answer = ChipAudit::Answer::none_;
   return audit;
}

std::vector<ChipAudit>
auditOf( Input::CardDescription const & card, Host::RegisterAccess & access, double tolerancePpm ) {
   std::vector<ChipAudit> audits;
   for ( auto const & chip : card.tolvanes ) audits.push_back( auditOf( chip, access ) );
   for ( auto const & chip : card.max24305s ) audits.push_back( auditOf( chip, access, tolerancePpm ) );
   return audits;
}

bool ChipAudit::isThere() const {
   return answer == Answer::yes_ && identification.empty() && ( !enable || enabled( *enable ) );
}

std::vector<Point> ChipAudit::points() const {
   std::vector<Point> points;
   auto const add = [&]( std::string_view name, bool well, std::string text ) {
      points.push_back( { name, well, std::move( text ) } );
   };
   auto const registersAdd = [&]( std::string_view name, std::size_t count, auto const & differences ) {
      if ( count == 0 ) return;
      add( name, differences.empty(), fmt::format( "{} of {} as expected", count - differences.size(), count ) );
      points.back().details = detailsOf( differences );
   };
   add( "bus", answer == Answer::yes_, answerTexts[static_cast<std::size_t>( answer )] );
   if ( spiCtrl ) {
      Hardware::SpiCtrl const fifos( *spiCtrl );
      add(
         "fifos", !fifos.readFifoCount() && !fifos.writeFifoCount(),
         fmt::format( "{} responses, {} commands", fifos.readFifoCount(), fifos.writeFifoCount() ) );
   }
   if ( answer != Answer::yes_ ) return points;
   if ( enable ) {
      Hardware::TolvaneEnable const word( *enable );
      add(
         "enable", enabled( *enable ),
         fmt::format( "0x{:08x}: enable {}, powerGood {}", *enable, word.enable(), word.powerGood() ) );
      return points;
   }
   registersAdd( "identification", identificationCount, identification );
   registersAdd( "registers", verifiedCount, drift );
   Hardware::ApllStatus const locks( *apllStatus );
   auto const lockText = []( bool locked ) { return locked ? "locked" : "not locked"; };
   add(
      "lock", locks.bothLocked(),
      fmt::format(
         "0x{:02x}: APLL1 {}, APLL2 {}", *apllStatus, lockText( locks.apll1Locked() ),
         lockText( locks.apll2Locked() ) ) );
   std::string const hz = frequencyInHz ? fmt::format( "{} Hz", *frequencyInHz ) : "no answer";
   if ( wantedInHz == 0 )
      add( "frequency", frequencyInHz.has_value(), hz + ", not checked" );
   else
      add(
         "frequency", frequencyInHz && std::abs( double( *frequencyInHz ) - double( wantedInHz ) ) <= toleranceInHz,
         fmt::format( "{}, expected {} Hz within {:.0f} Hz", hz, wantedInHz, toleranceInHz ) );
   return points;
}

std::optional<Point> ChipAudit::trouble() const {
   std::vector<Point> const all = points();
   auto const found = std::ranges::find( all, false, &Point::well );
   return found == all.end() ? std::nullopt : std::optional( *found );
}

std::string textOf( Point const & point ) {
   return fmt::format( "{}: {}{}", point.name, point.text, point.details.empty() ? "" : ": " + point.details.front() );
}

std::vector<std::string> linesOf( ChipAudit const & audit ) {
   std::vector<std::string> lines{ audit.chip };
   for ( Point const & point : audit.points() ) {
      lines.push_back( fmt::format( " {} {:<14}  {}", point.well ? ' ' : '!', point.name, point.text ) );
      for ( std::string const & detail : point.details ) lines.push_back( std::string( 6, ' ' ) + detail );
   }
   return lines;
}

Input::Json jsonOf( ChipAudit const & audit ) {
   Input::Json json{ { "chip", audit.chip }, { "well", audit.well() }, { "points", Input::Json::array() } };
   for ( Point const & point : audit.points() )
      json["points"].push_back( { { "name", point.name }, { "well", point.well }, { "text", point.text } } );
   json["differences"] = Input::Json::array();
   if ( audit.answer != ChipAudit::Answer::yes_ ) return json;
   for ( auto const * differences : { &audit.identification, &audit.drift } )
      for ( RegisterDifference const & difference : *differences )
         json["differences"].push_back(
            { { "address", difference.expected.address },
              { "expected", difference.expected.value },
              { "found", difference.found ? Input::Json( *difference.found ) : Input::Json() },
              { "place", difference.expected.place } } );
   return json;
}

}   // namespace Diagnosis
