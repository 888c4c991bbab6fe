// Rules for a chip whose attempts fail; of a MAX24305 those that its SPI master itself shows, where no byte came, else
// the mistakes in the sequence, then what the bytes look like.

#include "diagnosis/Rule.h"
#include "diagnosis/Warnings.h"
#include "hal/KivHal.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <set>

namespace Diagnosis {

using Hardware::Max24305::Op;
using Hardware::Steps::OperationDone;
using enum Hardware::Max24305::OpType;

namespace {

std::string hexText( U32 value, int digits = 1 ) { return fmt::format( "0x{:0{}x}", value, digits ); }

// The evidence of a MAX24305's failed attempts. `last` is what the last one failed at.
struct Attempts : Case {
   explicit Attempts( Case const & trouble )
      : Case( trouble ),
        sequence( chip.max24305->sequence ),
        spi( bringUp.lastStopped()->spi ),
        last( *bringUp.lastStopped()->stoppedAt ),
        op( last.operation ),
        before( sequence.first( last.place - 1 ) ),
        found( last.byteRead.value_or( 0 ) ),
        wrongBits( static_cast<U8>( op.value ^ found ) ) {
      for ( Attempt const & attempt : bringUp.attempts ) {
         if ( !attempt.stoppedAt ) continue;
         if ( failures.empty() ) sinceNs = *attempt.failedNs;
         failures.push_back( *attempt.stoppedAt );
         if ( attempt.stoppedAt->place != last.place ) continue;
         ++here;
         bytes.insert( attempt.stoppedAt->byteRead.value_or( 0 ) );
      }
      for ( std::size_t at = 0; at < before.size(); ++at )
         if ( before[at].type == write_ && static_cast<U16>( before[at].address ) == static_cast<U16>( op.address ) )
            writes.push_back( at );
   }

   bool always() const { return here == bringUp.attempts.size(); }
   bool neverWrote() const { return std::ranges::count( before, write_, &Op::type ) == 0; }
   // Whether writes before it were read back, and changed something.
   bool writesProved() const {
      std::set<U32> written;
      return std::ranges::any_of( before, [&]( Op const & one ) {
         if ( one.type == write_ && one.value != 0 ) written.insert( one.address );
         return one.type == read_ && one.value != 0 && written.contains( one.address );
      } );
   }
   // Whether that check of files warns of the operation.
   bool warned( std::string_view check ) const {
      return std::ranges::any_of( warningsOf( *chip.max24305 ), [&]( Warning const & warning ) {
         return warning.check == check && warning.place == chip.max24305->placeOf( before.size() );
      } );
   }

   Facts facts() const {
      Facts facts = Case::facts();
      facts["op"] = chip.max24305->operationText( before.size() );
      facts["file"] = chip.max24305->placeOf( before.size() );
      facts["register"] = hexText( static_cast<U16>( op.address ) );
      facts["expected"] = hexText( op.value, 2 );
      facts["mismatch"] = fmt::format( "{} reads 0x{:02x}, expected {}", facts["op"], found, facts["expected"] );
      if ( !writes.empty() ) {
         facts["write"] = chip.max24305->operationText( writes.back() );
         facts["writeFile"] = chip.max24305->placeOf( writes.back() );
         facts["written"] = hexText( before[writes.back()].value, 2 );
      }
      facts["seen"] = fmt::format( "{} of {} stopped there", here, countText( bringUp.attempts.size(), "attempt" ) );
      if ( spi.answer() == Answer::byte_ )
         facts["seen"] += fmt::format(
            ", {} 0x{:02x}", bytes.size() == 1 && always() ? "always" : "found", fmt::join( bytes, ", 0x" ) );
      if ( before.size() == 1 ) facts["seen"] += "; the operation before it is right";
      if ( before.size() > 1 ) facts["seen"] += fmt::format( "; the {} operations before it are right", before.size() );
      return facts;
   }

   std::span<Op const> sequence;
   SpiSeen const & spi;
   OperationDone const & last;
   Op op;
   std::span<Op const> before;
   U8 found;
   U8 wrongBits;
   std::vector<OperationDone> failures{};
   std::size_t here = 0;                // failures at the same operation
   std::set<U8> bytes{};                // what they found
   std::vector<std::size_t> writes{};   // of the same register, before it; from 0
};

// The SPI master.

// What came of the operation; the facts count what stays in the FIFOs.
template<Answer answer> bool came( Attempts & e, Facts & facts ) {
   facts["left"] = countText( e.spi.commandsLeft, "word" );
   facts["entries"] = std::to_string( e.spi.responsesLeft );
   return e.spi.answer() == answer;
}

bool noMaster( Attempts & e, Facts & facts ) { return came<Answer::none_>( e, facts ) && !e.chip.masterMoved; }

// Words leave the command FIFO, and the driver does not wait long enough for the last.
bool spiTooSlow( Attempts & e, Facts & facts ) {
   if ( !came<Answer::notSent_>( e, facts ) ) return false;
   U32 const first = *e.spi.commandsAtFirst;
   facts["left"] = fmt::format( "{} of {}", e.spi.commandsLeft, countText( first, "word" ) );
   return e.spi.commandsLeft < first;
}

// Mistakes in the sequence, most of which the checks of files know.

bool warnedOf( Attempts & e, Facts & facts ) { return e.warned( facts["rule"] ); }

// Whether the value goes to a register that nothing reads instead.
bool writtenElsewhere( Attempts & e, Facts & facts ) {
   if ( !e.warned( "neverWritten" ) ) return false;
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

bool otherValueWritten( Attempts & e, Facts & ) {
   if ( e.writes.empty() ) return false;
   U8 const written = static_cast<U8>( e.before[e.writes.back()].value );
   return written == e.found && written != e.op.value;
}

// What the bytes look like.

// What is found is what the read before was to bring, that of the attempt before where it is the first of its own.
bool oneLate( Attempts & e, Facts & ) {
   std::size_t agree = 0;
   Op const * before = nullptr;
   for ( OperationDone const & failure : e.failures ) {
      for ( Op const & op : e.sequence.first( failure.place - 1 ) )
         if ( op.type == read_ ) before = &op;
      agree += before && before->value != 0 && failure.byteRead == before->value;
      before = &failure.operation;
   }
   return agree > 0 && agree + 1 >= e.failures.size();
}

bool unstable( Attempts & e, Facts & ) { return e.bytes.size() > 2; }

template<U8 byte> bool nothingBut( Attempts & e, Facts & facts ) {
   facts["exchanged"] = e.exchangedText( "the reset outputs, or configOffset," );
   return e.found == byte && !provesBus( e.before ) && e.bytes.size() == 1;
}

bool swapped( Attempts & e, Facts & facts ) {
   if ( provesBus( e.before ) || std::popcount( e.wrongBits ) < 2 ) return false;
   U32 mirrored = 0;
   for ( U32 bit = 0; bit < 8; ++bit ) mirrored |= ( e.op.value >> bit & 1 ) << ( 7 - bit );
   facts["swapped"] = e.found == mirrored ? "their lowest bit first" : "their halves exchanged";
   return e.found == mirrored || e.found == ( e.op.value >> 4 | ( e.op.value & 0xF ) << 4 );
}

bool shifted( Attempts & e, Facts & facts ) {
   if ( provesBus( e.before ) || std::popcount( e.wrongBits ) < 2 ) return false;
   constexpr U32 mostBits = 4;   // beyond that nearly any byte would do
   for ( U32 bits = 1; bits <= mostBits; ++bits ) {
      facts["bits"] = countText( bits, "bit" );
      U32 const kept = 0xFFU >> bits;
      if ( ( e.found & kept ) == e.op.value >> bits || U32( e.found ) >> bits == ( e.op.value & kept ) ) return true;
   }
   return false;
}

bool answersAsOther( Attempts & e, Facts & facts ) {
   if ( !e.neverWrote() ) return false;
   for ( ChipStory const * other : e.others() ) {
      auto const & its = other->max24305->sequence;
      if ( e.before.size() >= its.size() ) continue;
      Op const & read = its[e.before.size()];
      facts["other"] = other->name;
      if ( read.type == read_ && read.address == e.op.address && read.value == e.found ) return true;
   }
   return false;
}

bool otherChip( Attempts & e, Facts & ) {
   bool const stable = e.bytes.size() == 1 && e.always();
   return stable && e.neverWrote() && ( e.before.empty() || std::popcount( e.wrongBits ) > 1 );
}

// The register reads as before the write. Where other writes were taken, a single bit is the register's own.
bool writeLost( Attempts & e, Facts & ) {
   if ( e.writes.empty() || e.bytes.size() > 1 ) return false;
   std::size_t const count = e.writes.size();
   U8 const earlier = count > 1 ? static_cast<U8>( e.before[e.writes[count - 2]].value ) : U8( 0 );
   return e.found == earlier && ( std::popcount( e.wrongBits ) > 1 || !e.writesProved() );
}

// So soon after a soft reset, 0x80 to register 0, that the chip may still take nothing.
bool settleTooShort( Attempts & e, Facts & facts ) {
   if ( !writeLost( e, facts ) ) return false;
   U64 pausedNs = 0;
   for ( std::size_t at = e.writes.back(); at > 0; --at ) {
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
   for ( OperationDone const & failure : e.failures )
      wrong |= failure.byteRead ? static_cast<U8>( *failure.byteRead ^ failure.operation.value ) : 0xFF;
   facts["bit"] = std::to_string( std::countr_zero( wrong ) );
   return std::popcount( wrong ) == 1;
}

bool oneBitAlways( Attempts & e, Facts & facts ) { return oneBit( e, facts ) && e.always(); }

bool unsteadyBits( Attempts & e, Facts & facts ) {
   std::set<std::size_t> places;
   for ( auto const & [place, of, op, byteRead, outcome] : e.failures ) {
      if ( !byteRead || std::popcount( static_cast<U8>( *byteRead ^ op.value ) ) > 2 ) return false;
      places.insert( place );
   }
   facts["places"] = std::to_string( places.size() );
   return places.size() > 1;
}

bool otherByte( Attempts &, Facts & ) { return true; }

constexpr char theSequence[] = "the bus, the reset, the reference";
constexpr char theMaster[] = "the command FIFO, which drains";

constexpr Rule<Attempts> rulesOfMaster[] = {
   { "noMaster", noMaster, "no SPI master answers at {base}: its FIFO counts read 0 at all times",
     "compare configOffset {base} with the FPGA's register map\nsee whether the FPGA is loaded: {peek}",
     "the sequence, the reference" },
   { "spiTooSlow", spiTooSlow,
     "SPI master at {base}: its SPI clock is too slow: {left} stay after the driver's ten polls, at {op}",
     "raise the SPI clock in the FPGA: a transaction of four bytes must be through within 10 us",
     "the chip, the reference" },
   { "commandsStay", came<Answer::notSent_>,
     "SPI master at {base}: the command FIFO never drains: {left} stay after {op}",
     "look whether the master has its clock and is out of reset", "the chip, the reference" },
   { "invalidResponse", came<Answer::invalid_>, "SPI master at {base} gives responses without their valid bit, at {op}",
     "look at the master's capture of responses in the FPGA", theMaster },
   { "severalResponses", came<Answer::several_>,
     "SPI master at {base}: {entries} entries in the response FIFO where one is due, at {op}",
     "look whether the master captures each response twice, or something else uses it too",
     "a lost answer: there are too many" },
   { "noResponse", came<Answer::none_>, "SPI master at {base} sends, and its response FIFO stays empty at {op}",
     "look at the master's capture of responses, which the bit recordResponse asks for", theMaster } };

constexpr Rule<Attempts> rulesOfBytes[] = {
   { "wideValue", warnedOf, "{op} expects {expected}, and no register holds a value above 255 (0xff)", "correct {file}",
     "the hardware: no chip can meet it" },
   { "statusVerified", warnedOf, "register {register}: a status register, which changes by itself, is verified by {op}",
     "leave that read out: {file}", theSequence },
   { "writtenElsewhere", writtenElsewhere, "register {register}: no operation writes it before {op} reads it back",
     "correct {correct}: {elsewhere}, to {other}, which nothing reads", theSequence },
   { "neverWritten", warnedOf, "register {register}: no operation writes it before {op} reads it back",
     "correct {file}, or add the write before it", theSequence },
   { "readTooEarly", warnedOf, "register {register}: {op} reads it back before the write",
     "put {file} behind the write", theSequence },
   { "otherValueWritten", otherValueWritten,
     "register {register}: {op} expects {expected}, but {write} wrote {written}", "correct {file} or {writeFile}",
     theSequence },
   { "oneLate", oneLate, "each answer comes one read late: {op} brings the answer of the read before",
     "look at the response FIFO of the SPI master in the FPGA: it hands out the entry before",
     "the chip, whose bytes are right" },
   { "unstable", unstable, "register {register} changes from read to read: {op} expects {expected}",
     "a volatile register: leave that read out, {file}", theSequence },
   { "allOnes", nothingBut<0xFF>, "the chip drives nothing: {op} reads 0xff, all ones",
     "check that {reset} releases the reset (pin, active level), and the chip's supply\n"
     "or an open MISO line; {selftest} tells them apart{exchanged}",
     "the SPI master, which sends and captures" },
   { "swapped", swapped, "bytes arrive with {swapped}: {mismatch}",
     "check the order of bits in which the SPI master shifts and stores", "the chip's registers" },
   { "shifted", shifted, "bytes arrive shifted by {bits}: {mismatch}",
     "check the clock edge and delay at which the SPI master samples MISO", "the chip's registers" },
   { "allZeros", nothingBut<0>, "{op} reads 0x00, all zeros: MISO is low, or no chip is selected",
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

// All look alike: no supply, a reset that is held, a register that does not stand there.
bool tolvaneSilent( Case & e, Facts & facts ) {
   auto const attempt = std::ranges::find_if( e.bringUp.attempts, &Attempt::failed );
   if ( attempt == e.bringUp.attempts.end() ) return false;
   e.sinceNs = *attempt->failedNs;
   facts["seen"] = fmt::format(
      "{} of {} failed; the register reads 0x{:x}", e.bringUp.failed(),
      countText( e.bringUp.attempts.size(), "attempt" ), attempt->enableWord.value_or( 0 ) );
   return true;
}

constexpr Rule<Case> rulesOfTolvane[] = {
   { "tolvaneSilent", tolvaneSilent, "neither enable nor power good reads back in {base}",
     "check its supply, and that {reset} releases its reset\n"
     "or that its register stands at {base}: {poke} {chip}.tolvaneEnable.enable=1" } };

}   // namespace

std::optional<Cause> attemptCause( Case const & trouble ) {
   if ( !trouble.chip.max24305 ) return firstOf<Case>( rulesOfTolvane, trouble );
   Attempt const * const last = trouble.bringUp.lastStopped();
   if ( !last ) return {};
   bool const read = last->stoppedAt->operation.type == read_;
   Answer const answer = last->spi.answer();
   if ( !read && answer != Answer::notSent_ ) return {};
   return answer == Answer::byte_ ? firstOf<Attempts>( rulesOfBytes, Attempts( trouble ) )
                                  : firstOf<Attempts>( rulesOfMaster, Attempts( trouble ) );
}

}   // namespace Diagnosis
