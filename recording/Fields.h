// The names of the kinds of lines, of the steps, and of their fields, in the order in which a line has them: the log
// writes by these tables, and the reader reads by them. A new kind stands in `kindNames`, a new step in `stepNames`,
// and both with their fields below.
#pragma once

#include "recording/Event.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <variant>

namespace Recording {

/// Of the first line.
inline constexpr std::string_view firstKind = "recording";

/// Of the others, in the order of the variant.
inline constexpr std::array<std::string_view, std::variant_size_v<What>> kindNames{
   "write32", "read32", "gpo",  "sleep", "state", "trace", "log",
   "spi",     "abort",  "step", "gate",  "input", "aside", "dropped" };

/// In the order of the variant. A gate has a kind of line of its own.
inline constexpr std::array<std::string_view, std::variant_size_v<Hardware::Step>> stepNames{
   "GateEvaluated", "AttemptBegun",     "ResetPulsed", "CleanedUp",     "OperationDone", "EnableDone",
   "AttemptFailed", "ProgrammingEnded", "LockPolled",  "FrequencyRead", "Published",     "TolvanePublished" };

/// In the order of the enumeration.
inline constexpr std::array<std::string_view, 3> outcomeNames{ "done", "readMismatch", "writeNotSent" };

/// Whether an input's value is a number, as scenarios have it; else it is a flag.
bool isNumber( std::string_view input );

template<class Owner, class Value> struct Field {
   constexpr Field( std::string_view fieldName, Value Owner::*fieldMember )
      : name( fieldName ), member( fieldMember ) {}
   std::string_view name;
   Value Owner::*member;
};

namespace Detail {

using namespace Hardware::Steps;
using Hardware::GateRow;
using Hardware::Max24305::Op;
using std::tuple;

template<class Struct> inline constexpr auto fieldsOf = nullptr;

// Kinds of lines. State and InputChange have none: what stands in their `value` is a rule of its own.

template<>
inline constexpr tuple fieldsOf<Write32>{ Field( "address", &Write32::address ), Field( "value", &Write32::value ) };
template<>
inline constexpr tuple fieldsOf<Read32>{ Field( "address", &Read32::address ), Field( "value", &Read32::value ) };
template<> inline constexpr tuple fieldsOf<Gpo>{ Field( "name", &Gpo::name ), Field( "active", &Gpo::active ) };
template<> inline constexpr tuple fieldsOf<Sleep>{ Field( "forNs", &Sleep::forNs ) };
template<>
inline constexpr tuple fieldsOf<Trace>{
   Field( "facility", &Trace::facility ), Field( "level", &Trace::level ), Field( "source", &Trace::source ),
   Field( "function", &Trace::function ), Field( "text", &Trace::text ) };
template<> inline constexpr tuple fieldsOf<Log>{ Field( "id", &Log::id ) };
template<>
inline constexpr tuple fieldsOf<Spi>{
   Field( "chip", &Spi::chip ), Field( "bytes", &Spi::bytes ), Field( "response", &Spi::response ) };
template<>
inline constexpr tuple fieldsOf<Abort>{
   Field( "expression", &Abort::expression ), Field( "source", &Abort::source ), Field( "function", &Abort::function ),
   Field( "line", &Abort::line ) };
template<> inline constexpr tuple fieldsOf<Step>{ Field( "chip", &Step::chip ), Field( "step", &Step::step ) };
template<> inline constexpr tuple fieldsOf<Gate>{ Field( "chip", &Gate::chip ), Field( "rows", &Gate::rows ) };
template<> inline constexpr tuple fieldsOf<Aside>{ Field( "by", &Aside::by ), Field( "begins", &Aside::begins ) };
template<> inline constexpr tuple fieldsOf<Dropped>{ Field( "lines", &Dropped::lines ) };

// Steps.

template<> inline constexpr tuple<> fieldsOf<GateEvaluated>{};
template<> inline constexpr tuple<> fieldsOf<ResetPulsed>{};
template<> inline constexpr tuple<> fieldsOf<CleanedUp>{};
template<>
inline constexpr tuple fieldsOf<AttemptBegun>{
   Field( "number", &AttemptBegun::number ), Field( "of", &AttemptBegun::of ) };
template<>
inline constexpr tuple fieldsOf<OperationDone>{
   Field( "place", &OperationDone::place ), Field( "of", &OperationDone::of ),
   Field( "operation", &OperationDone::operation ), Field( "byteRead", &OperationDone::byteRead ),
   Field( "outcome", &OperationDone::outcome ) };
template<>
inline constexpr tuple fieldsOf<EnableDone>{
   Field( "word", &EnableDone::word ), Field( "answers", &EnableDone::answers ) };
template<>
inline constexpr tuple fieldsOf<AttemptFailed>{
   Field( "number", &AttemptFailed::number ), Field( "of", &AttemptFailed::of ), Field( "at", &AttemptFailed::at ) };
template<>
inline constexpr tuple fieldsOf<ProgrammingEnded>{
   Field( "attempts", &ProgrammingEnded::attempts ), Field( "succeeded", &ProgrammingEnded::succeeded ) };
template<>
inline constexpr tuple fieldsOf<LockPolled>{
   Field( "number", &LockPolled::number ), Field( "of", &LockPolled::of ), Field( "status", &LockPolled::status ) };
template<> inline constexpr tuple fieldsOf<FrequencyRead>{ Field( "frequencyInHz", &FrequencyRead::frequencyInHz ) };
template<>
inline constexpr tuple fieldsOf<Published>{ Field( "state", &Published::state ), Field( "clock", &Published::clock ) };
template<> inline constexpr tuple fieldsOf<TolvanePublished>{ Field( "state", &TolvanePublished::state ) };

// What stands in a field.

template<>
inline constexpr tuple fieldsOf<Op>{
   Field( "key", &Op::key ), Field( "type", &Op::type ), Field( "address", &Op::address ),
   Field( "value", &Op::value ) };
template<>
inline constexpr tuple fieldsOf<GateRow>{
   Field( "condition", &GateRow::condition ), Field( "value", &GateRow::value ), Field( "met", &GateRow::met ) };

}   // namespace Detail

/// What has a table of its fields.
template<class Struct>
concept HasFields = !std::is_same_v<decltype( Detail::fieldsOf<Struct> ), std::nullptr_t const>;

/// Calls `what( name, value )` for each field.
template<class Struct> void forEachField( Struct & values, auto const & what ) {
   std::apply(
      [&]( auto const &... field ) { ( what( field.name, values.*field.member ), ... ); },
      Detail::fieldsOf<std::remove_const_t<Struct>> );
}

template<class Step> std::string_view stepName() { return stepNames[Hardware::Step( Step() ).index()]; }

}   // namespace Recording
