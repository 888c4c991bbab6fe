// Rules for a MAX24305 whose attempts fail: first those that the SPI master itself shows, then the mistakes in the
// sequence, then what the bytes look like.

#include "diagnosis/Rule.h"
#include "diagnosis/Warnings.h"
#include "hal/KivHal.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <set>

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;

namespace {

std::string hexText( U32 value, int digits = 1 ) { return fmt::format( "0x{:0{}x}", value, digits ); }

// The evidence of failed attempts. `last` is what the last one failed at; places count from 1.
struct Attempts : Case {
   explicit Attempts( Case const & trouble )
      : Case( trouble ),
        sequence( chip.max24305->sequence ),
        last( *bringUp.lastFailure() ),
        op( last.done.operation ),
        before( sequence.first( last.done.place - 1 ) ),
        found( last.done.byteRead.value_or( 0 ) ),
        answer( last.spi.answer() ) {
      for ( Attempt const & attempt : bringUp.attempts )
         if ( attempt.failure ) failures.push_back( &*attempt.failure );
      sinceNs = failures.front()->ns;
      for ( Failure const * failure : failures ) {
         if ( failure->done.place != last.done.place ) continue;
         ++here;
         bytes.insert( failure->done.byteRead.value_or( 0 ) );
      }
   }

   bool isRead() const { return op.type == read_; }
   bool byteCame() const { return isRead() && answer == Answer::byte_; }
   U16 address() const { return static_cast<U16>( op.address ); }
   U8 wrongBits() const { return static_cast<U8>( op.value ^ found ); }

   // The last write of the register before it, or before that write; 0 where there is none.
   std::size_t writeBefore( std::size_t place ) const {
      while ( --place > 0 )
         if ( sequence[place - 1].type == write_ && static_cast<U16>( sequence[place - 1].address ) == address() )
            return place;
      return 0;
   }
   std::size_t write() const { return writeBefore( last.done.place ); }
   // What the register held before that write.
   U8 valueBefore() const {
      std::size_t const earlier = writeBefore( write() );
      return earlier == 0 ? U8( 0 ) : static_cast<U8>( sequence[earlier - 1].value );
   }
   // Whether bytes came rightly before it that neither a low nor a high line gives.
   bool busProved() const {
      return std::ranges::any_of(
         before, []( Op const & one ) { return one.type == read_ && one.value != 0 && one.value != 0xFF; } );
   }
   // Whether writes before it were read back, and changed something.
   bool writesProved() const {
      std::set<U32> written;
      return std::ranges::any_of( before, [&]( Op const & one ) {
         if ( one.type == write_ && one.value != 0 ) written.insert( one.address );
         return one.type == read_ && one.value != 0 && written.contains( one.address );
      } );
   }
   bool warned( std::string_view check ) const {
      return std::ranges::any_of( warningsOf( *chip.max24305 ), [&]( Warning const & warning ) {
         return warning.check == check && warning.place == chip.max24305->placeOf( last.done.place - 1 );
      } );
   }

   Facts facts() const {
      Facts facts = Case::facts();
      std::size_t const place = last.done.place;
      facts["op"] = chip.max24305->operationText( place - 1 );
      facts["file"] = chip.max24305->placeOf( place - 1 );
      facts["register"] = hexText( address() );
      facts["expected"] = hexText( op.value, 2 );
      facts["found"] = hexText( found, 2 );
      facts["mismatch"] = facts["op"] + " reads " + facts["found"] + ", expected " + facts["expected"];
      if ( std::size_t const at = write() ) {
         facts["write"] = chip.max24305->operationText( at - 1 );
         facts["writeFile"] = chip.max24305->placeOf( at - 1 );
         facts["written"] = hexText( sequence[at - 1].value, 2 );
      }
      std::string const all = fmt::format(
         "{} 0x{:02x}", bytes.size() == 1 && here == bringUp.attempts.size() ? "always" : "found",
         fmt::join( bytes, ", 0x" ) );
      facts["seen"] = fmt::format(
         "{} of {} stopped there{}{}", here, countText( bringUp.attempts.size(), "attempt" ),
         byteCame() ? ", " + all : "",
         place == 1   ? ""
         : place == 2 ? "; the operation before it is right"
                      : fmt::format( "; the {} operations before it are right", place - 1 ) );
      return facts;
   }

   std::span<Op const> sequence;
   Failure const & last;
   Op op;
   std::span<Op const> before;
   U8 found;
   Answer answer;
   std::vector<Failure const *> failures{};
   std::size_t here = 0;   // failures at the same operation
   std::set<U8> bytes{};   // what they found
};

// The SPI master.

bool noMaster( Attempts & e, Facts & ) { return e.isRead() && e.answer == Answer::none_ && !e.chip.masterMoved; }

// Words leave the command FIFO, and the driver does not wait long enough for the last.
bool spiTooSlow( Attempts & e, Facts & facts ) {
   if ( e.answer != Answer::notSent_ ) return false;
   U32 const first = Hardware::SpiCtrl( e.last.spi.control.front() ).writeFifoCount();
   facts["left"] = fmt::format( "{} of {}", e.last.spi.commandsLeft(), countText( first, "word" ) );
   return e.last.spi.commandsLeft() < first;
}

bool commandsStay( Attempts & e, Facts & facts ) {
   facts["left"] = countText( e.last.spi.commandsLeft(), "word" );
   return e.answer == Answer::notSent_;
}

bool invalidResponse( Attempts & e, Facts & ) { return e.isRead() && e.answer == Answer::invalid_; }

bool severalResponses( Attempts & e, Facts & facts ) {
   facts["entries"] = std::to_string( e.last.spi.responsesLeft() );
   return e.isRead() && e.answer == Answer::several_;
}

bool noResponse( Attempts & e, Facts & ) { return e.isRead() && e.answer == Answer::none_; }

// Mistakes in the sequence, most of which the checks of files know.

bool wideValue( Attempts & e, Facts & ) { return e.isRead() && e.warned( "wideValue" ); }
bool statusVerified( Attempts & e, Facts & ) { return e.byteCame() && e.warned( "statusVerified" ); }

// Whether the value goes to a register that nothing reads instead.
bool writtenElsewhere( Attempts & e, Facts & facts ) {
   if ( !e.byteCame() || !e.warned( "neverWritten" ) ) return false;
   for ( std::size_t at = e.before.size(); at > 0; --at ) {
      Op const & one = e.before[at - 1];
      bool const read = std::ranges::any_of(
         e.sequence, [&]( Op const & other ) { return other.type == read_ && other.address == one.address; } );
      if ( one.type != write_ || one.value != e.op.value || read ) continue;
      facts["correct"] = e.chip.max24305->placeOf( at - 1 );
      facts["elsewhere"] = fmt::format( "operation {} writes that value, {}", at, facts["expected"] );
      facts["other"] = hexText( one.address );
      return true;
   }
   return false;
}

bool neverWritten( Attempts & e, Facts & ) { return e.byteCame() && e.warned( "neverWritten" ); }
bool readTooEarly( Attempts & e, Facts & ) { return e.byteCame() && e.warned( "readTooEarly" ); }

bool otherValueWritten( Attempts & e, Facts & ) {
   if ( !e.byteCame() || e.write() == 0 ) return false;
   U8 const written = static_cast<U8>( e.sequence[e.write() - 1].value );
   return written == e.found && written != e.op.value;
}

// What the bytes look like.

// What is found is what the read before was to bring, that of the attempt before where it is the first of its own.
bool oneLate( Attempts & e, Facts & ) {
   std::size_t agree = 0;
   Op const * before = nullptr;
   for ( Failure const * failure : e.failures ) {
      for ( Op const & op : e.sequence.first( failure->done.place - 1 ) )
         if ( op.type == read_ ) before = &op;
      agree += before && before->value != 0 && failure->done.byteRead == before->value;
      before = &failure->done.operation;
   }
   return agree > 0 && agree + 1 >= e.failures.size();
}

bool unstable( Attempts & e, Facts & ) { return e.byteCame() && e.bytes.size() > 2; }

bool allOnes( Attempts & e, Facts & facts ) {
   for ( ChipStory const & other : e.story.chips() )
      if ( other.max24305 && &other != &e.chip )
         facts["exchanged"] +=
            "\nor the reset outputs, or configOffset, of " + e.chip.name + " and " + other.name + " are exchanged";
   return e.byteCame() && e.found == 0xFF && !e.busProved() && e.bytes.size() == 1;
}

bool shifted( Attempts & e, Facts & facts ) {
   if ( !e.byteCame() || e.busProved() || std::popcount( e.wrongBits() ) < 2 ) return false;
   constexpr U32 mostBits = 4;   // beyond that nearly any byte would do
   for ( U32 bits = 1; bits <= mostBits; ++bits ) {
      facts["bits"] = countText( bits, "bit" );
      U32 const kept = 0xFFU >> bits;
      if ( ( e.found & kept ) == e.op.value >> bits || U32( e.found ) >> bits == ( e.op.value & kept ) ) return true;
   }
   return false;
}

bool allZeros( Attempts & e, Facts & ) { return e.byteCame() && e.found == 0 && !e.busProved() && e.bytes.size() == 1; }

bool answersAsOther( Attempts & e, Facts & facts ) {
   if ( !e.byteCame() || std::ranges::count( e.before, write_, &Op::type ) > 0 ) return false;
   for ( ChipStory const & other : e.story.chips() ) {
      if ( !other.max24305 || &other == &e.chip || e.before.size() >= other.max24305->sequence.size() ) continue;
      Op const & its = other.max24305->sequence[e.before.size()];
      facts["other"] = other.name;
      if ( its.type == read_ && its.address == e.op.address && its.value == e.found ) return true;
   }
   return false;
}

bool otherChip( Attempts & e, Facts & ) {
   bool const stable = e.byteCame() && e.bytes.size() == 1 && e.here == e.bringUp.attempts.size();
   bool const identification = std::ranges::count( e.before, write_, &Op::type ) == 0;
   return stable && identification && ( e.before.empty() || std::popcount( e.wrongBits() ) > 1 );
}

// The register reads as before the write. Where other writes were taken, a single bit is the register's own.
bool writeLost( Attempts & e, Facts & ) {
   if ( !e.byteCame() || e.write() == 0 || e.found != e.valueBefore() || e.bytes.size() > 1 ) return false;
   return std::popcount( e.wrongBits() ) > 1 || !e.writesProved();
}

// So soon after a soft reset, 0x80 to register 0, that the chip may still take nothing.
bool settleTooShort( Attempts & e, Facts & facts ) {
   if ( !writeLost( e, facts ) ) return false;
   U64 pausedNs = 0;
   for ( std::size_t at = e.write() - 1; at > 0; --at ) {
      Op const & op = e.sequence[at - 1];
      if ( op.type == sleep_ ) pausedNs += op.value;
      if ( op.type != write_ || op.address != 0 || op.value != 0x80 ) continue;
      constexpr U64 nsPerMs = 1'000'000;
      constexpr U64 plentyMs = 100;
      facts["pause"] = fmt::format( "{} ms", pausedNs / nsPerMs );
      return pausedNs / nsPerMs < plentyMs;
   }
   return false;
}

bool oneBit( Attempts & e, Facts & facts ) {
   U8 wrong = 0;
   for ( Failure const * failure : e.failures )
      wrong |=
         failure->done.byteRead ? static_cast<U8>( *failure->done.byteRead ^ failure->done.operation.value ) : 0xFF;
   facts["bit"] = std::to_string( std::countr_zero( wrong ) );
   return e.byteCame() && std::popcount( wrong ) == 1;
}

bool oneBitAlways( Attempts & e, Facts & facts ) { return oneBit( e, facts ) && e.here == e.bringUp.attempts.size(); }

bool unsteadyBits( Attempts & e, Facts & facts ) {
   std::set<std::size_t> places;
   for ( Failure const * failure : e.failures ) {
      auto const & [place, of, op, byteRead, outcome] = failure->done;
      if ( !byteRead || std::popcount( static_cast<U8>( *byteRead ^ op.value ) ) > 2 ) return false;
      places.insert( place );
   }
   facts["places"] = std::to_string( places.size() );
   return places.size() > 1;
}

bool otherByte( Attempts & e, Facts & ) { return e.byteCame(); }

constexpr char theSequence[] = "the bus, the reset, the reference";
constexpr char theMaster[] = "the command FIFO, which drains";

constexpr Rule<Attempts> rulesOfAttempts[] = {
   { "noMaster", noMaster, "no SPI master answers at {base}: its FIFO counts read 0 at all times",
     "compare configOffset {base} with the FPGA's register map\nsee whether the FPGA is loaded: {peek}",
     "the sequence, the reference" },
   { "spiTooSlow", spiTooSlow,
     "SPI master at {base}: its SPI clock is too slow: {left} stay after the driver's ten polls, at {op}",
     "raise the SPI clock in the FPGA: a transaction of four bytes must be through within 10 us",
     "the chip, the reference" },
   { "commandsStay", commandsStay, "SPI master at {base}: the command FIFO never drains: {left} stay after {op}",
     "look whether the master has its clock and is out of reset", "the chip, the reference" },
   { "invalidResponse", invalidResponse, "SPI master at {base} gives responses without their valid bit, at {op}",
     "look at the master's capture of responses in the FPGA", theMaster },
   { "severalResponses", severalResponses,
     "SPI master at {base}: {entries} entries in the response FIFO where one is due, at {op}",
     "look whether the master captures each response twice, or something else uses it too",
     "a lost answer: there are too many" },
   { "noResponse", noResponse, "SPI master at {base} sends, and its response FIFO stays empty at {op}",
     "look at the master's capture of responses, which the bit recordResponse asks for", theMaster },
   { "wideValue", wideValue, "{op} expects {expected}, and no register holds a value above 255 (0xff)",
     "correct {file}", "the hardware: no chip can meet it" },
   { "statusVerified", statusVerified,
     "register {register}: a status register, which changes by itself, is verified by {op}",
     "leave that read out: {file}", theSequence },
   { "writtenElsewhere", writtenElsewhere, "register {register}: no operation writes it before {op} reads it back",
     "correct {correct}: {elsewhere}, to {other}, which nothing reads", theSequence },
   { "neverWritten", neverWritten, "register {register}: no operation writes it before {op} reads it back",
     "correct {file}, or add the write before it", theSequence },
   { "readTooEarly", readTooEarly, "register {register}: {op} reads it back before the write",
     "put {file} behind the write", theSequence },
   { "otherValueWritten", otherValueWritten,
     "register {register}: {op} expects {expected}, but {write} wrote {written}", "correct {file} or {writeFile}",
     theSequence },
   { "oneLate", oneLate, "each answer comes one read late: {op} brings the answer of the read before",
     "look at the response FIFO of the SPI master in the FPGA: it hands out the entry before",
     "the chip, whose bytes are right" },
   { "unstable", unstable, "register {register} changes from read to read: {op} expects {expected}",
     "a volatile register: leave that read out, {file}", theSequence },
   { "allOnes", allOnes, "the chip drives nothing: {op} reads 0xff, all ones",
     "check that {reset} releases the reset (pin, active level), and the chip's supply\n"
     "or an open MISO line; {selftest} tells them apart{exchanged}",
     "the SPI master, which sends and captures" },
   { "shifted", shifted, "bytes arrive shifted by {bits}: {mismatch}",
     "check the clock edge and delay at which the SPI master samples MISO", "the chip's registers" },
   { "allZeros", allZeros, "{op} reads 0x00, all zeros: MISO is low, or no chip is selected",
     "check MISO for a short to ground, and chip select at the chip\n{selftest} tells them apart",
     "the SPI master, which sends and captures" },
   { "answersAsOther", answersAsOther, "the chip answers as {other} does: its identification, {mismatch}",
     "check whether their wiring, or configOffset, is exchanged", "the bus, which carries stable bytes" },
   { "otherChip", otherChip, "the chip is another one: its identification, {mismatch}",
     "check which part is fitted, and that the sequence is for it", "the bus, which carries stable bytes" },
   { "settleTooShort", settleTooShort, "register {register} did not take {expected}, which {write} wrote: {mismatch}",
     "pause longer behind the soft reset: it is {pause}, and writes while the chip settles are lost\n"
     "or the register cannot be written; a longer pause tells them apart",
     "the bus, which reads right" },
   { "writeLost", writeLost, "register {register} did not take {expected}, which {write} wrote: {mismatch}",
     "check that the register can be written, and MOSI", "the bus, which reads right" },
   { "oneBitAlways", oneBitAlways, "register {register}: bit {bit} is always wrong: {mismatch}",
     "a bit that the register has not, or holds: see the data sheet, or correct {file}", "the reset, the reference" },
   { "oneBit", oneBit, "register {register}: bit {bit} is sometimes wrong: {mismatch}",
     "check the SPI lines: levels, edges, ground; {selftest} counts errors by bit", "the reset, the reference" },
   { "unsteadyBits", unsteadyBits, "single bits are wrong now and then, at {places} operations; at last {mismatch}",
     "check the SPI lines: levels, edges, ground; {selftest} counts errors by bit",
     "the registers, the reset, the reference" },
   { "otherByte", otherByte, "register {register}: {mismatch}", "compare the registers with the sequence: {audit}" } };

}   // namespace

std::optional<Cause> attemptCause( Case const & trouble ) {
   if ( !trouble.bringUp.lastFailure() ) return {};
   return firstOf<Attempts>( rulesOfAttempts, Attempts( trouble ) );
}

}   // namespace Diagnosis
