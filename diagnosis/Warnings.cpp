#include "diagnosis/Warnings.h"

#include "framework/Type.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;
using Input::CardDescription;
using Input::Max24305Description;

namespace {

constexpr U32 longestPauseNs = 1'000'000'000;

// The register that an operation is sent to.
U16 registerOf( Op const & op ) { return static_cast<U16>( op.address ); }

// A sequence, and where its registers are first written; places count from 0.
struct SequenceFacts {
   explicit SequenceFacts( std::span<Op const> sequence ) : operations( sequence ), firstWrite( sequence.size() ) {
      std::map<U16, std::size_t> unread;   // registers whose last write nothing has read back
      for ( std::size_t at = 0; at < sequence.size(); ++at ) {
         U16 const reg = registerOf( sequence[at] );
         if ( sequence[at].type == read_ ) unread.erase( reg );
         if ( sequence[at].type != write_ ) continue;
         firstWrite = std::min( firstWrite, at );
         firstWriteOf.try_emplace( reg, at );
         unread[reg] = at;
      }
      for ( auto const & [reg, at] : unread ) notReadBack.push_back( at );
      std::ranges::sort( notReadBack );
   }

   std::span<Op const> operations;
   std::size_t firstWrite;   // of any register; behind the last operation where there is none
   std::unordered_map<U16, std::size_t> firstWriteOf{};
   std::vector<std::size_t> notReadBack{};   // the last writes of registers that are not read behind them
};

// The checks of a sequence say what is wrong with the operation `at`; nothing where it is well.

std::string unknownOp( SequenceFacts const & facts, std::size_t at ) {
   if ( facts.operations[at].type != unknownOp_ ) return "";
   return "expected read, write or sleep, found unknownOp, which stops the process when the sequence comes to it";
}

std::string wideValue( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   if ( op.value <= 0xFF || ( op.type != read_ && op.type != write_ ) ) return "";
   return fmt::format(
      "expected a value from 0 to 0xff, found 0x{:x}, of which {}", op.value,
      op.type == read_ ? "no read ever brings more than a byte: it fails every attempt"
                       : fmt::format( "the low byte 0x{:02x} is written", op.value & 0xFF ) );
}

std::string wideAddress( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   if ( op.address <= 0xFFFF || ( op.type != read_ && op.type != write_ ) ) return "";
   return fmt::format(
      "expected an address from 0 to 0xffff, found 0x{:x}, which is sent as 0x{:04x}", op.address, registerOf( op ) );
}

std::string longPause( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   if ( op.type != sleep_ || op.value <= longestPauseNs ) return "";
   return fmt::format( "expected a pause of 1 s at most, found {} ns, in which the agent stands still", op.value );
}

std::string statusVerified( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   auto const * const status = op.type == read_ ? statusRegister( registerOf( op ) ) : nullptr;
   if ( !status ) return "";
   return fmt::format(
      "expected a register that keeps what is written, found 0x{:04x}, {}: what it reads changes by itself",
      registerOf( op ), status->type().name() );
}

// Before the first write, a sequence looks at what the chip brings along, such as its identification.
std::string neverWritten( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   U16 const reg = registerOf( op );
   if ( op.type != read_ || at < facts.firstWrite || facts.firstWriteOf.contains( reg ) || statusRegister( reg ) )
      return "";
   return fmt::format(
      "expected the read-back of a register that was written, found 0x{:04x}, which nothing writes", reg );
}

std::string readTooEarly( SequenceFacts const & facts, std::size_t at ) {
   Op const & op = facts.operations[at];
   auto const write = facts.firstWriteOf.find( registerOf( op ) );
   if ( op.type != read_ || write == facts.firstWriteOf.end() || write->second < at ) return "";
   return fmt::format(
      "expected the read-back behind the write, found it before operation {}, which is the first to write 0x{:04x}",
      write->second + 1, registerOf( op ) );
}

// One line for the whole sequence, at the first of them.
std::string notReadBack( SequenceFacts const & facts, std::size_t at ) {
   if ( facts.notReadBack.empty() || facts.notReadBack.front() != at ) return "";
   return fmt::format(
      "expected a read-back behind each write, found {} {} without, 0x{:04x} first", facts.notReadBack.size(),
      facts.notReadBack.size() == 1 ? "register" : "registers", registerOf( facts.operations[at] ) );
}

struct SequenceCheck {
   std::string_view name;
   std::string ( *text )( SequenceFacts const & facts, std::size_t at );
};
constexpr SequenceCheck sequenceChecks[] = { { unknownOperation, unknownOp },      { "wideValue", wideValue },
                                             { "wideAddress", wideAddress },       { "longPause", longPause },
                                             { "statusVerified", statusVerified }, { "neverWritten", neverWritten },
                                             { "readTooEarly", readTooEarly },     { "notReadBack", notReadBack } };

// The checks of a card say what is wrong with a chip; nothing where it is well.

// The chips that come into question, in the card's order: those whose `attribute` is `value`.
template<class Chips>
void namesAdd( std::vector<std::string> & names, Chips const & chips, auto attribute, std::string const & value ) {
   for ( auto const & chip : chips )
      if ( chip.*attribute == value ) names.push_back( chip.name );
}

// "a, b" where several chips share something, told once, at the first of them.
std::string othersText( std::vector<std::string> const & names, std::string const & chip ) {
   if ( names.size() < 2 || names.front() != chip ) return "";
   return fmt::format( "{}", fmt::join( names, ", " ) );
}

std::string sharedOutput( CardDescription const & card, std::string const & chip ) {
   auto const * const max24305 = card.max24305( chip );
   std::string const output = max24305 ? max24305->resetGpoName : card.tolvane( chip )->resetGpoName;
   std::vector<std::string> names;
   namesAdd( names, card.tolvanes, &Input::TolvaneDescription::resetGpoName, output );
   namesAdd( names, card.max24305s, &Max24305Description::resetGpoName, output );
   std::string const others = othersText( names, chip );
   if ( others.empty() ) return "";
   return fmt::format(
      "expected an output for each chip, found \"{}\" for {}: each resets the others", output, others );
}

std::string sharedClockStatus( CardDescription const & card, std::string const & chip ) {
   auto const * const max24305 = card.max24305( chip );
   if ( !max24305 ) return "";
   std::vector<std::string> names;
   namesAdd( names, card.max24305s, &Max24305Description::clockStatus, max24305->clockStatus );
   std::string const others = othersText( names, chip );
   if ( others.empty() ) return "";
   return fmt::format(
      "expected a clock status for each chip, found \"{}\" for {}: the last one that writes it is seen",
      max24305->clockStatus, others );
}

// What a programme's name says of its output: "ic1In10_oc1Out10" is of 10 MHz.
std::optional<U64> outputHzOf( std::string_view name ) {
   constexpr std::string_view mark = "Out";
   std::size_t const at = name.rfind( mark );
   if ( at == std::string_view::npos ) return std::nullopt;
   U32 mhz = 0;
   auto const [end, error] = std::from_chars( name.data() + at + mark.size(), name.data() + name.size(), mhz );
   if ( error != std::errc() ) return std::nullopt;
   return U64{ mhz } * 1'000'000;
}

std::string outputFrequency( CardDescription const & card, std::string const & chip ) {
   auto const * const max24305 = card.max24305( chip );
   if ( !max24305 || max24305->outputFrequencyInHz == 0 ) return "";
   std::string const programme = stringValue( max24305->programSeq ).stdString();
   auto const hz = outputHzOf( programme );
   if ( !hz || *hz == max24305->outputFrequencyInHz ) return "";
   return fmt::format(
      "expected the outputFrequencyInHz {} of the programme {}, found {}", *hz, programme,
      max24305->outputFrequencyInHz );
}

std::string noInput( CardDescription const & card, std::string const & chip ) {
   auto const * const max24305 = card.max24305( chip );
   if ( !max24305 || max24305->input != Hardware::Max24305::noInput_ ) return "";
   return "expected the input tolvane or stuffedClock, found noInput, from which it cannot be brought up";
}

struct CardCheck {
   std::string_view name;
   std::string ( *text )( CardDescription const & card, std::string const & chip );
};
constexpr CardCheck cardChecks[] = {
   { "sharedOutput", sharedOutput },
   { "sharedClockStatus", sharedClockStatus },
   { "outputFrequency", outputFrequency },
   { "noInput", noInput } };

}   // namespace

std::vector<Warning> warningsOf( std::span<Op const> sequence, std::span<std::string const> places ) {
   SequenceFacts const facts( sequence );
   std::vector<Warning> warnings;
   for ( std::size_t at = 0; at < sequence.size(); ++at )
      for ( auto const & [name, text] : sequenceChecks )
         if ( std::string const wrong = text( facts, at ); !wrong.empty() )
            warnings.push_back( { name, places[at], wrong } );
   return warnings;
}

std::vector<Warning> warningsOf( CardDescription const & card ) {
   std::vector<Warning> warnings;
   std::set<std::string> told;   // chips may share a sequence
   for ( Max24305Description const & chip : card.max24305s ) {
      if ( chip.sequence.empty() || !told.insert( chip.sequencePlaces.front() ).second ) continue;
      auto const ofSequence = warningsOf( chip.sequence, chip.sequencePlaces );
      warnings.insert( warnings.end(), ofSequence.begin(), ofSequence.end() );
   }
   auto const check = [&]( std::string const & chip ) {
      for ( auto const & [name, text] : cardChecks )
         if ( std::string const wrong = text( card, chip ); !wrong.empty() )
            warnings.push_back( { name, card.file + ": " + chip, wrong } );
   };
   for ( auto const & chip : card.tolvanes ) check( chip.name );
   for ( auto const & chip : card.max24305s ) check( chip.name );
   return warnings;
}

Hal::RegisterDeclaration const * statusRegister( U16 reg ) {
   auto const * const found = std::ranges::find( Hardware::max24305Block, reg, &Hal::RegisterDeclaration::address );
   return found == Hardware::max24305Block.end() || Hal::writable( found->access ) ? nullptr : &*found;
}

std::vector<std::string_view> checkNames() {
   std::vector<std::string_view> names;
   for ( SequenceCheck const & check : sequenceChecks ) names.push_back( check.name );
   for ( CardCheck const & check : cardChecks ) names.push_back( check.name );
   return names;
}

}   // namespace Diagnosis
