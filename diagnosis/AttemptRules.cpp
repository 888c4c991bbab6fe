// Rules for a MAX24305 whose attempts fail: first those that the SPI master itself shows, then the mistakes in the
// sequence, then what the bytes look like.

#include "diagnosis/Rule.h"
#include "diagnosis/Warnings.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <set>

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;

namespace {

constexpr char fileAlone[] = "the reset, the SPI master, the reference";

// The evidence of the failed attempts, as the rules ask for it.
struct Evidence {
   explicit Evidence( Case const & trouble )
      : chip( trouble.chip ),
        sequence( trouble.chip.max24305->sequence ),
        last( *trouble.bringUp.lastFailure() ),
        op( last.done.operation ),
        place( last.done.place ),
        expected( static_cast<U8>( op.value ) ),
        found( last.done.byteRead.value_or( 0 ) ) {
      for ( Attempt const & attempt : trouble.bringUp.attempts ) {
         ++attempts;
         if ( attempt.failure ) failures.push_back( &*attempt.failure );
      }
      since = failures.front()->ns;
      for ( Failure const * failure : failures ) {
         if ( failure->done.place != place ) continue;
         ++here;
         if ( failure->done.byteRead ) bytesHere.insert( *failure->done.byteRead );
      }
   }

   bool isRead() const { return op.type == read_; }
   U16 address() const { return static_cast<U16>( op.address ); }
   bool got( Answer answer ) const { return last.spi.answer() == answer; }
   bool byteCame() const { return isRead() && got( Answer::byte_ ); }

   // The operation of that type on the same register that stands last before the failed one; its place from 1.
   std::size_t lastBefore( Hardware::Max24305::OpType type ) const {
      for ( std::size_t at = place - 1; at > 0; --at )
         if ( sequence[at - 1].type == type && static_cast<U16>( sequence[at - 1].address ) == address() ) return at;
      return 0;
   }
   // Bytes other than 0x00 and 0xff that came rightly before it: the bus works.
   std::size_t telling() const {
      return static_cast<std::size_t>( std::ranges::count_if( sequence.first( place - 1 ), []( Op const & one ) {
         return one.type == read_ && one.value != 0 && one.value != 0xFF;
      } ) );
   }
   // Writes before it that were read back, and changed something.
   std::size_t writesVerified() const {
      std::set<U16> written;
      std::size_t count = 0;
      for ( Op const & one : sequence.first( place - 1 ) ) {
         if ( one.type == write_ && one.value != 0 ) written.insert( static_cast<U16>( one.address ) );
         count += one.type == read_ && one.value != 0 && written.contains( static_cast<U16>( one.address ) );
      }
      return count;
   }
   bool beforeAnyWrite() const {
      return std::ranges::none_of( sequence.first( place - 1 ), []( Op const & one ) { return one.type == write_; } );
   }

   std::string opText() const { return chip.operationText( place ); }
   std::string seen() const {
      std::string bytes;
      for ( U8 const byte : bytesHere ) bytes += fmt::format( "{}0x{:02x}", bytes.empty() ? "" : ", ", byte );
      std::string text = fmt::format( "{} of {} attempts stopped there", here, attempts );
      if ( isRead() && got( Answer::byte_ ) )
         text += fmt::format( ", {} {}", bytesHere.size() == 1 && here == attempts ? "always" : "found", bytes );
      if ( place == 1 ) return text;
      return text + "; the " + countText( place - 1, "operation" ) + " before it " + ( place == 2 ? "is" : "are" ) +
             " right";
   }
   std::string mismatch() const {
      return fmt::format( "{} reads 0x{:02x}, expected 0x{:02x}", opText(), found, op.value );
   }

   Cause cause( std::string what, std::vector<std::string> todo, std::string ruledOut = {} ) const {
      return {
         .what = std::move( what ),
         .sinceNs = since,
         .todo = std::move( todo ),
         .seen = { seen() },
         .ruledOut = std::move( ruledOut ) };
   }

   ChipStory const & chip;
   std::span<Op const> sequence;
   Failure const & last;
   Op const op;
   std::size_t const place;
   U8 const expected;
   U8 const found;
   std::vector<Failure const *> failures{};
   std::size_t attempts = 0;
   std::size_t here = 0;   // failures at the same operation
   std::set<U8> bytesHere{};
   U64 since = 0;
};

std::string masterText( Evidence const & e ) {
   return fmt::format( "SPI master at 0x{:x}", e.chip.max24305->configOffset );
}

// The SPI master.

Finding noMaster( Case const & trouble ) {
   Evidence const e( trouble );
   if ( e.chip.masterMoved || !e.got( Answer::none_ ) || !e.isRead() ) return {};
   Cause cause = e.cause(
      fmt::format(
         "no SPI master answers at 0x{:x}: its FIFO counts read 0 at all times", e.chip.max24305->configOffset ),
      { fmt::format( "compare configOffset 0x{:x} with the FPGA's register map", e.chip.max24305->configOffset ),
        "see whether the FPGA is loaded: " + commandText( trouble, "peek" ) + " " + e.chip.name },
      "the sequence, the reference" );
   return cause;
}

// Words leave the command FIFO, and the driver does not wait long enough for the last.
Finding spiTooSlow( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.got( Answer::notSent_ ) ) return {};
   U32 const first = Hardware::SpiCtrl( e.last.spi.control.front() ).writeFifoCount();
   U32 const left = e.last.spi.commandsLeft();
   if ( left >= first ) return {};
   return e.cause(
      fmt::format(
         "{}: its SPI clock is too slow: {} of {} words are not sent after {} polls of 1 us", masterText( e ), left,
         first, e.last.spi.control.size() ),
      { "raise the SPI clock in the FPGA: the four bytes of a transaction must be through within 10 us" },
      "the chip, the reference" );
}

Finding commandsStay( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.got( Answer::notSent_ ) ) return {};
   return e.cause(
      fmt::format(
         "{}: the command FIFO never drains; {} words stand in it after {}", masterText( e ), e.last.spi.commandsLeft(),
         e.opText() ),
      { "look whether the master has its clock and is out of reset" }, "the chip, the reference" );
}

Finding noResponse( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.isRead() || !e.got( Answer::none_ ) ) return {};
   return e.cause(
      fmt::format( "{} sends, and no answer arrives in its response FIFO at {}", masterText( e ), e.opText() ),
      { "look at the master's capture of responses (bit recordResponse) and its MISO pin" },
      "the command FIFO, which drains" );
}

Finding invalidResponse( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.isRead() || !e.got( Answer::invalid_ ) ) return {};
   return e.cause(
      fmt::format( "{} gives responses without their valid bit at {}", masterText( e ), e.opText() ),
      { "look at the master's capture of responses in the FPGA" }, "the command FIFO, which drains" );
}

Finding severalResponses( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.isRead() || !e.got( Answer::several_ ) ) return {};
   bool const leftOver = std::ranges::any_of(
      trouble.bringUp.attempts, []( Attempt const & attempt ) { return attempt.cleanUp.responsesLeft() > 0; } );
   Cause cause = e.cause(
      fmt::format(
         "{}: {} entries in the response FIFO where one is due, at {}", masterText( e ), e.last.spi.responsesLeft(),
         e.opText() ),
      { "look whether the master captures each response twice" }, "a lost answer: there are too many" );
   if ( leftOver ) cause.todo.emplace_back( "or something else uses the master: responses were left over before" );
   return cause;
}

// Mistakes in the sequence, which the checks of files know.

std::string valueElsewhere( Evidence const & e ) {
   std::set<U16> read;
   for ( Op const & op : e.sequence )
      if ( op.type == read_ ) read.insert( static_cast<U16>( op.address ) );
   for ( std::size_t at = e.place - 1; at > 0; --at ) {
      Op const & op = e.sequence[at - 1];
      if ( op.type != write_ || static_cast<U8>( op.value ) != e.expected ) continue;
      if ( read.contains( static_cast<U16>( op.address ) ) ) continue;
      return fmt::format(
         "correct {}: operation {} writes that value, 0x{:02x}, to 0x{:x}, which nothing reads",
         e.chip.max24305->sequencePlaces[at - 1], at, e.expected, op.address );
   }
   return {};
}

Finding sequenceMistake( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.isRead() ) return {};
   auto const & places = e.chip.max24305->sequencePlaces;
   auto const warnings = warningsOf( e.sequence, places );
   auto const says = [&]( std::string_view check ) {
      return std::ranges::any_of( warnings, [&]( Warning const & warning ) {
         return warning.check == check && warning.place == places[e.place - 1];
      } );
   };
   std::string const correct = "correct " + places[e.place - 1];
   if ( says( "wideValue" ) )
      return e.cause(
         fmt::format( "{} expects 0x{:x}, and a register holds no more than 0xff", e.opText(), e.op.value ),
         { correct }, "the hardware: no chip can meet it" );
   if ( !e.byteCame() ) return {};
   if ( says( "statusVerified" ) )
      return e.cause(
         fmt::format(
            "register 0x{:x}: a status register, which changes by itself, is verified by {}", e.address(), e.opText() ),
         { correct + ": leave the read out" }, fileAlone );
   if ( says( "neverWritten" ) ) {
      std::string const elsewhere = valueElsewhere( e );
      return e.cause(
         fmt::format( "register 0x{:x}: no operation writes it before {} reads it back", e.address(), e.opText() ),
         { elsewhere.empty() ? correct + ", or add the write before it" : elsewhere }, fileAlone );
   }
   if ( says( "readTooEarly" ) )
      return e.cause(
         fmt::format( "register 0x{:x}: {} reads it back before the write", e.address(), e.opText() ),
         { correct + ": put it behind the write" }, fileAlone );
   return {};
}

Finding otherValueWritten( Case const & trouble ) {
   Evidence const e( trouble );
   std::size_t const write = e.lastBefore( write_ );
   if ( !e.byteCame() || write == 0 ) return {};
   U8 const written = static_cast<U8>( e.sequence[write - 1].value );
   if ( written == e.expected || written != e.found ) return {};
   return e.cause(
      fmt::format(
         "register 0x{:x}: {} expects 0x{:02x}, but {} wrote 0x{:02x}", e.address(), e.opText(), e.expected,
         e.chip.operationText( write ), written ),
      { fmt::format(
         "correct {} or {}", e.chip.max24305->sequencePlaces[e.place - 1],
         e.chip.max24305->sequencePlaces[write - 1] ) },
      fileAlone );
}

// What the bytes look like.

Finding allOnes( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.byteCame() || e.found != 0xFF || e.telling() > 0 || e.bytesHere.size() > 1 ) return {};
   Cause cause = e.cause(
      fmt::format( "the chip drives nothing: {} reads 0xff, all ones", e.opText() ),
      { fmt::format(
           "check that {} releases the reset (pin, active level), and the chip's supply", e.chip.resetOutput ),
        "or an open MISO line; " + commandText( trouble, "selftest" ) + " tells them apart" },
      "the SPI master, which sends and captures" );
   for ( ChipStory const & other : trouble.story.chips() )
      if ( other.max24305 && &other != &e.chip )
         cause.todo.push_back( fmt::format(
            "or the reset outputs, or configOffset, of {} and {} are exchanged", e.chip.name, other.name ) );
   return cause;
}

Finding allZeros( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.byteCame() || e.found != 0 || e.telling() > 0 || e.bytesHere.size() > 1 ) return {};
   return e.cause(
      fmt::format( "{} reads 0x00, all zeros: MISO is low, or no chip is selected", e.opText() ),
      { "check MISO for a short to ground, and chip select at the chip",
        commandText( trouble, "selftest" ) + " tells them apart" },
      "the SPI master, which sends and captures" );
}

// Answers that come with the next read: what is found is what the read before was to bring, that of the attempt before
// where it is the first of its own.
Finding oneLate( Case const & trouble ) {
   Evidence const e( trouble );
   std::size_t agree = 0;
   Op const * before = nullptr;
   for ( Failure const * failure : e.failures ) {
      for ( Op const & op : e.sequence.first( failure->done.place - 1 ) )
         if ( op.type == read_ ) before = &op;
      agree += before && before->value != 0 && failure->done.byteRead == before->value;
      before = &failure->done.operation;
   }
   if ( agree == 0 || agree + 1 < e.failures.size() ) return {};
   return e.cause(
      fmt::format( "each answer comes one read late: {} brings the answer of the read before", e.opText() ),
      { "look at the response FIFO of the SPI master in the FPGA: it hands out the entry before" },
      "the chip, whose bytes are right" );
}

Finding shifted( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.byteCame() || e.telling() > 0 || std::popcount( U8( e.expected ^ e.found ) ) < 2 ) return {};
   for ( U32 bits = 1; bits <= 4; ++bits ) {
      bool const later = ( e.found & ( 0xFF >> bits ) ) == e.expected >> bits;
      bool const sooner = ( e.found >> bits ) == ( e.expected & ( 0xFF >> bits ) );
      if ( !later && !sooner ) continue;
      return e.cause(
         fmt::format( "bytes arrive shifted by {} {}: {}", bits, bits == 1 ? "bit" : "bits", e.mismatch() ),
         { "check the clock edge and delay at which the SPI master samples MISO" }, "the chip's registers" );
   }
   return {};
}

// Another chip of the card that is identified by what was found.
Finding otherChip( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.byteCame() || !e.beforeAnyWrite() || e.found == 0 || e.found == 0xFF ) return {};
   if ( std::popcount( U8( e.expected ^ e.found ) ) == 1 && e.bytesHere.size() == 1 && e.place > 1 ) return {};
   std::string other;
   for ( ChipStory const & chip : trouble.story.chips() )
      if ( chip.max24305 && &chip != &e.chip && e.place <= chip.max24305->sequence.size() ) {
         Op const & its = chip.max24305->sequence[e.place - 1];
         if ( its.type == read_ && its.address == e.op.address && its.value == e.found ) other = chip.name;
      }
   return e.cause(
      fmt::format( "the chip is another one: its identification, {}", e.mismatch() ),
      { other.empty() ? "check which part is fitted, and that the sequence is for it"
                      : "it answers as " + other + ": check whether their wiring or configOffset is exchanged" },
      "the bus, which carries stable bytes" );
}

// The register took no write: it reads as before it.
std::optional<U8> valueBefore( Evidence const & e, std::size_t write ) {
   for ( std::size_t at = write - 1; at > 0; --at )
      if ( e.sequence[at - 1].type == write_ && static_cast<U16>( e.sequence[at - 1].address ) == e.address() )
         return static_cast<U8>( e.sequence[at - 1].value );
   return U8( 0 );
}

Finding unstable( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.byteCame() || e.bytesHere.size() < 3 ) return {};
   return e.cause(
      fmt::format(
         "register 0x{:x} changes from read to read: {} expects 0x{:02x}", e.address(), e.opText(), e.expected ),
      { "a volatile register: correct " + e.chip.max24305->sequencePlaces[e.place - 1] + ", leave the read out" },
      fileAlone );
}

Finding writeLost( Case const & trouble ) {
   Evidence const e( trouble );
   std::size_t const write = e.lastBefore( write_ );
   if ( !e.byteCame() || write == 0 || e.found != valueBefore( e, write ) || e.bytesHere.size() > 1 ) return {};
   // Where others were taken, a single bit is the register's own.
   bool const oneBitWrong = std::popcount( U8( e.expected ^ e.found ) ) == 1;
   if ( oneBitWrong && e.writesVerified() > 0 ) return {};
   // A write soon after a soft reset may fall into the time in which the chip takes none.
   bool softReset = false;
   U64 pausedNs = 0;
   for ( std::size_t at = write - 1; at > 0 && !softReset; --at ) {
      Op const & op = e.sequence[at - 1];
      if ( op.type == sleep_ ) pausedNs += op.value;
      softReset = op.type == write_ && op.address == 0 && op.value == 0x80;
   }
   std::string const lost = fmt::format(
      "register 0x{:x} did not take 0x{:02x}, which {} wrote: {}", e.address(), e.expected,
      e.chip.operationText( write ), e.mismatch() );
   constexpr U64 plentyNs = 100'000'000;
   if ( softReset && pausedNs < plentyNs )
      return e.cause(
         lost,
         { fmt::format(
              "pause longer behind the soft reset: the sequence waits {} ms, and writes within the settling time are "
              "lost",
              pausedNs / 1'000'000 ),
           fmt::format( "or register 0x{:x} cannot be written; a longer pause tells them apart", e.address() ) },
         "the bus, which reads right" );
   return e.cause(
      lost, { fmt::format( "check that register 0x{:x} can be written, and MOSI", e.address() ) },
      "the bus, which reads right" );
}

Finding oneBit( Case const & trouble ) {
   Evidence const e( trouble );
   if ( !e.isRead() ) return {};
   U8 wrong = 0;
   for ( Failure const * failure : e.failures )
      wrong |=
         failure->done.byteRead ? static_cast<U8>( *failure->done.byteRead ^ failure->done.operation.value ) : 0xFF;
   if ( std::popcount( wrong ) != 1 ) return {};
   bool const always = e.here == e.attempts;
   return e.cause(
      fmt::format(
         "register 0x{:x}: bit {} is wrong {}: {}", e.address(), std::countr_zero( wrong ),
         always ? "always" : "sometimes", e.mismatch() ),
      { always ? "a bit that the register has not, or holds: compare with the data sheet, or correct " +
                    e.chip.max24305->sequencePlaces[e.place - 1]
               : "check the levels and the timing of MISO; " + commandText( trouble, "selftest" ) +
                    " counts errors by bit" },
      "the reset, the reference" );
}

Finding unsteadyBits( Case const & trouble ) {
   Evidence const e( trouble );
   std::set<std::size_t> places;
   for ( Failure const * failure : e.failures ) {
      auto const & [place, of, op, byteRead, outcome] = failure->done;
      if ( !byteRead || std::popcount( U8( *byteRead ^ op.value ) ) > 2 ) return {};
      places.insert( place );
   }
   if ( places.size() < 2 ) return {};
   return e.cause(
      fmt::format( "single bits are wrong now and then, at {} operations; at last {}", places.size(), e.mismatch() ),
      { "check the SPI lines: levels, edges, length, ground; " + commandText( trouble, "selftest" ) +
        " counts errors by bit" },
      "the registers, the reset, the reference" );
}

Finding otherByte( Case const & trouble ) {
   Evidence const e( trouble );
   if ( e.byteCame() )
      return e.cause(
         fmt::format( "register 0x{:x}: {}", e.address(), e.mismatch() ),
         { "compare the register with the sequence: " + commandText( trouble, "audit" ) } );
   return e.cause(
      e.opText() + " was not done",
      { "look at the SPI master: " + commandText( trouble, "peek" ) + " " + e.chip.name } );
}

constexpr Rule rulesOfAttempts[] = {
   { "noMaster", noMaster },
   { "spiTooSlow", spiTooSlow },
   { "commandsStay", commandsStay },
   { "invalidResponse", invalidResponse },
   { "severalResponses", severalResponses },
   { "noResponse", noResponse },
   { "sequenceMistake", sequenceMistake },
   { "otherValueWritten", otherValueWritten },
   { "oneLate", oneLate },
   { "unstable", unstable },
   { "allOnes", allOnes },
   { "shifted", shifted },
   { "allZeros", allZeros },
   { "otherChip", otherChip },
   { "writeLost", writeLost },
   { "oneBit", oneBit },
   { "unsteadyBits", unsteadyBits },
   { "otherByte", otherByte } };

}   // namespace

std::span<Rule const> attemptRules() { return rulesOfAttempts; }

}   // namespace Diagnosis
