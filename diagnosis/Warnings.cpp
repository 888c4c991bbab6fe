#include "diagnosis/Warnings.h"

#include "framework/Type.h"
#include "hal/Max24305Hal.h"
#include "input/Number.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;
using Input::CardDescription;
using Input::Max24305Description;

namespace {

constexpr U32 longestPauseNs = 1'000'000'000;

// Warns of one place.
struct Warn {
   std::vector<Warning> & warnings;
   std::string place;

   template<class... Values>
   void operator()( std::string_view check, fmt::format_string<Values...> text, Values const &... values ) const {
      warnings.push_back( { check, place, fmt::vformat( text, fmt::make_format_args( values... ) ) } );
   }
};

// The register that an operation is sent to.
U16 registerOf( Op const & op ) { return static_cast<U16>( op.address ); }

// What is wrong with an operation by itself.
void warnOfOperation( Op const & op, Warn const & warn ) {
   if ( op.type == unknownOp_ )
      warn(
         unknownOperation,
         "expected read, write or sleep, found unknownOp, which stops the process when the sequence comes to it" );
   if ( op.type == sleep_ && op.value > longestPauseNs )
      warn( "longPause", "expected a pause of 1 s at most, found {} ns, in which the agent stands still", op.value );
   if ( op.type != read_ && op.type != write_ ) return;

   if ( op.value > 0xFF && op.type == read_ )
      warn(
         "wideValue",
         "expected a value from 0 to 0xff, found 0x{:x}, of which no read ever brings more than a byte: it fails "
         "every attempt",
         op.value );
   if ( op.value > 0xFF && op.type == write_ )
      warn(
         "wideValue", "expected a value from 0 to 0xff, found 0x{:x}, of which the low byte 0x{:02x} is written",
         op.value, op.value & 0xFF );
   if ( op.address > 0xFFFF )
      warn(
         "wideAddress", "expected an address from 0 to 0xffff, found 0x{:x}, which is sent as 0x{:04x}", op.address,
         registerOf( op ) );
}

// What is wrong with the read at a place; `firstWrite` is of its register, `written` whether any was before.
void warnOfRead(
   Op const & op, std::size_t at, std::optional<std::size_t> firstWrite, bool written, Warn const & warn ) {
   U16 const reg = registerOf( op );
   auto const * const status = statusRegister( reg );
   if ( status )
      warn(
         "statusVerified",
         "expected a register that keeps what is written, found 0x{:04x}, {}: what it reads changes by itself", reg,
         status->type().name() );
   if ( firstWrite && *firstWrite > at )
      warn(
         "readTooEarly",
         "expected the read-back behind the write, found it before operation {}, which is the first to write "
         "0x{:04x}",
         *firstWrite + 1, reg );
   // Before the first write, a sequence looks at what the chip brings along, such as its identification.
   if ( !firstWrite && written && !status )
      warn(
         "neverWritten", "expected the read-back of a register that was written, found 0x{:04x}, which nothing writes",
         reg );
}

}   // namespace

Hal::RegisterDeclaration const * statusRegister( U16 reg ) {
   auto const * const found = std::ranges::find( Hardware::max24305Block, reg, &Hal::RegisterDeclaration::address );
   return found == Hardware::max24305Block.end() || Hal::writable( found->access ) ? nullptr : &*found;
}

std::vector<Warning> warningsOf( Max24305Description const & chip ) {
   std::map<U16, std::size_t> firstWriteOf;   // of each register; places count from 0
   std::map<U16, std::size_t> unread;         // the last writes that no read follows
   for ( std::size_t at = 0; at < chip.sequence.size(); ++at ) {
      Op const & op = chip.sequence[at];
      if ( op.type == read_ ) unread.erase( registerOf( op ) );
      if ( op.type != write_ ) continue;
      firstWriteOf.try_emplace( registerOf( op ), at );
      unread[registerOf( op )] = at;
   }
   std::size_t firstUnread = chip.sequence.size();
   for ( auto const & [reg, at] : unread ) firstUnread = std::min( firstUnread, at );

   std::vector<Warning> warnings;
   bool written = false;   // any register so far
   for ( std::size_t at = 0; at < chip.sequence.size(); ++at ) {
      Op const & op = chip.sequence[at];
      Warn const warn{ warnings, chip.placeOf( at ) };
      warnOfOperation( op, warn );
      if ( op.type == write_ ) {
         written = true;
         if ( at == firstUnread )
            warn(
               "notReadBack", "expected a read-back behind each write, found {} register{} without, 0x{:04x} first",
               unread.size(), unread.size() == 1 ? "" : "s", registerOf( op ) );
      }
      if ( op.type != read_ ) continue;
      auto const write = firstWriteOf.find( registerOf( op ) );
      warnOfRead( op, at, write == firstWriteOf.end() ? std::nullopt : std::optional( write->second ), written, warn );
   }
   return warnings;
}

std::vector<Warning> warningsOf( CardDescription const & card ) {
   std::vector<Warning> warnings;
   std::set<std::string> told;   // chips may share a sequence
   for ( Max24305Description const & chip : card.max24305s ) {
      if ( chip.sequence.empty() || !told.insert( chip.placeOf( 0 ) ).second ) continue;
      auto const ofSequence = warningsOf( chip );
      warnings.insert( warnings.end(), ofSequence.begin(), ofSequence.end() );
   }

   auto const warnOf = [&]( std::string const & chip ) { return Warn{ warnings, card.file + ": " + chip }; };
   // The chips by what each has, in the card's order.
   std::map<std::string, std::vector<std::string>> outputs;
   std::map<std::string, std::vector<std::string>> clockStatuses;
   for ( auto const & chip : card.tolvanes ) outputs[chip.resetGpoName].push_back( chip.name );
   for ( auto const & chip : card.max24305s ) {
      outputs[chip.resetGpoName].push_back( chip.name );
      clockStatuses[chip.clockStatus].push_back( chip.name );
   }
   auto const warnOfShared = [&]( auto const & chipsOf, auto check, auto what, auto consequence ) {
      for ( auto const & [shared, chips] : chipsOf )
         if ( chips.size() > 1 )
            warnOf( chips.front() )(
               check, "expected {} for each chip, found \"{}\" for {}: {}", what, shared, fmt::join( chips, ", " ),
               consequence );
   };
   warnOfShared( outputs, "sharedOutput", "an output", "each resets the others" );
   warnOfShared( clockStatuses, "sharedClockStatus", "a clock status", "the last one that writes it is seen" );
   for ( auto const & chip : card.max24305s ) {
      std::string const programme = stringValue( chip.programSeq ).stdString();
      // The number at its end says what the output is: "ic1In10_oc1Out10" is of 10 MHz.
      auto const mhz = Input::numberOf( programme.substr( programme.find_last_not_of( "0123456789" ) + 1 ) );
      U64 const hz = U64{ mhz.value_or( 0 ) } * 1'000'000;
      if ( mhz && chip.outputFrequencyInHz != 0 && chip.outputFrequencyInHz != hz )
         warnOf( chip.name )(
            "outputFrequency", "expected the outputFrequencyInHz {} of the programme {}, found {}", hz, programme,
            chip.outputFrequencyInHz );
   }
   return warnings;
}

}   // namespace Diagnosis
