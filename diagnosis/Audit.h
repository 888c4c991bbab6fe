// How a chip stands now, beside what it was told: whether it answers, its identification, its registers, its lock and
// its output. A few reads for each register that its sequence verifies, and nothing else.
//
//    Diagnosis::ChipAudit const audit = Diagnosis::auditOf( chip, access );
//    if ( !audit.well() ) for ( std::string const & line : Diagnosis::linesOf( audit ) ) std::cout << line << '\n';
#pragma once

#include "input/CardDescription.h"
#include "input/Json.h"
#include "registers/RegisterAccess.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Diagnosis {

/// What a sequence says about a register that it leaves alone from then on.
struct Expectation {
   U16 address = 0;
   U32 value = 0;
   U8 mask = 0xFF;                ///< the bits that do not change by themselves
   bool identification = false;   ///< the chip brings it along: nothing was written there
   std::string place{};           ///< "operation 27 (ptp0.ops:35)"
};

/// By address: what the sequence verified last and did not overwrite since, and what it read before it wrote there.
/// Registers that the chip itself changes are left out.
std::vector<Expectation> expectationsOf( Input::Max24305Description const & chip );

/// A register that does not hold what it should.
struct RegisterDifference {
   Expectation expected;
   std::optional<U8> found;   ///< nothing: no answer
   /// Those that differ; none where there was no answer.
   U32 bits() const { return found ? ( expected.value ^ *found ) & ( ~0xFFU | expected.mask ) : 0; }
};

/// A line of an audit, and one of a self-test.
struct Point {
   std::string_view name;
   bool well = true;
   std::string text;
   std::vector<std::string> details{};
};

/// "lock: 0x01: APLL1 locked, APLL2 not locked", with its first detail.
std::string textOf( Point const & point );

/// How much of a MAX24305 is looked at: all, or what tells that its clock is there; of the registers that were written
/// to it has one then, which a reset clears.
enum class AuditDepth { whole_, clock_ };

struct ChipAudit {
   /// What comes back from it. All alike: nothing drives the bus, which then has one level.
   enum class Answer { yes_, none_, allOnes_, allZeros_ };

   std::string chip;
   Answer answer = Answer::yes_;   ///< without one the rest says nothing
   std::optional<U32> enable{};    ///< of a Tolvane: its register
   // Of a MAX24305:
   std::optional<U32> spiCtrl{};   ///< what stood in the FIFOs of its SPI master before
   std::size_t identificationCount = 0;
   std::vector<RegisterDifference> identification{};
   std::size_t verifiedCount = 0;
   std::vector<RegisterDifference> drift{};   ///< of what the sequence verified last
   std::optional<U8> apllStatus{};
   std::optional<U32> frequencyInHz{};
   U32 wantedInHz = 0;   ///< 0: not checked
   double toleranceInHz = 0;

   /// Whether not even the FPGA answers.
   bool cardGone() const { return answer == Answer::none_ && !spiCtrl; }
   /// Whether the chip is the one that it should be, whatever state it is in.
   bool isThere() const;
   /// Bus, identification, registers and so on, as far as there is something to say of them.
   std::vector<Point> points() const;
   bool well() const { return !trouble(); }
   /// The first of them that is not well.
   std::optional<Point> trouble() const;
};

inline constexpr double defaultTolerancePpm = 100;

/// How far an output may be off that is to have this frequency.
constexpr double toleranceInHz( U32 wantedInHz, double tolerancePpm = defaultTolerancePpm ) {
   return wantedInHz * tolerancePpm / 1e6 + 1;
}

/// The output may be off by so much, and by 1 Hz. A chip that does not answer is given up at once; else each register
/// takes an SPI transfer.
ChipAudit auditOf(
   Input::Max24305Description const & chip, Host::RegisterAccess & access, double tolerancePpm = defaultTolerancePpm,
   AuditDepth depth = AuditDepth::whole_ );
ChipAudit auditOf( Input::TolvaneDescription const & chip, Host::RegisterAccess & access );

/// Of all chips of a card, the Tolvanes first.
std::vector<ChipAudit> auditOf(
   Input::CardDescription const & card, Host::RegisterAccess & access, double tolerancePpm = defaultTolerancePpm );

/// For people: the chip, then its points.
std::vector<std::string> linesOf( ChipAudit const & audit );
/// For programs.
Input::Json jsonOf( ChipAudit const & audit );

}   // namespace Diagnosis
