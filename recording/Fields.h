// The names of the steps and of their fields, in the order in which a line has them: the log writes by these tables,
// and the reader reads by them. A new step stands in `stepNames`, and with its fields below.
#pragma once

#include "sm/Steps.h"

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <variant>

namespace Recording {

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

template<class Step> inline constexpr std::tuple<> fieldsOf{};
template<>
inline constexpr auto
   fieldsOf<AttemptBegun> = std::tuple( Field( "number", &AttemptBegun::number ), Field( "of", &AttemptBegun::of ) );
template<>
inline constexpr auto fieldsOf<OperationDone> = std::tuple(
   Field( "place", &OperationDone::place ), Field( "of", &OperationDone::of ),
   Field( "operation", &OperationDone::operation ), Field( "byteRead", &OperationDone::byteRead ),
   Field( "outcome", &OperationDone::outcome ) );
template<>
inline constexpr auto
   fieldsOf<EnableDone> = std::tuple( Field( "word", &EnableDone::word ), Field( "answers", &EnableDone::answers ) );
template<>
inline constexpr auto fieldsOf<AttemptFailed> = std::tuple(
   Field( "number", &AttemptFailed::number ), Field( "of", &AttemptFailed::of ), Field( "at", &AttemptFailed::at ) );
template<>
inline constexpr auto fieldsOf<ProgrammingEnded> =
   std::tuple( Field( "attempts", &ProgrammingEnded::attempts ), Field( "succeeded", &ProgrammingEnded::succeeded ) );
template<>
inline constexpr auto fieldsOf<LockPolled> = std::tuple(
   Field( "number", &LockPolled::number ), Field( "of", &LockPolled::of ), Field( "status", &LockPolled::status ) );
template<>
inline constexpr auto fieldsOf<FrequencyRead> = std::tuple( Field( "frequencyInHz", &FrequencyRead::frequencyInHz ) );
template<>
inline constexpr auto
   fieldsOf<Published> = std::tuple( Field( "state", &Published::state ), Field( "clock", &Published::clock ) );
template<> inline constexpr auto fieldsOf<TolvanePublished> = std::tuple( Field( "state", &TolvanePublished::state ) );

using Op = Hardware::Max24305::Op;
template<>
inline constexpr auto fieldsOf<Op> = std::tuple(
   Field( "key", &Op::key ), Field( "type", &Op::type ), Field( "address", &Op::address ),
   Field( "value", &Op::value ) );

}   // namespace Detail

/// Calls `what( name, value )` for each field of a step, or of an operation.
template<class Step> void forEachField( Step & step, auto const & what ) {
   std::apply(
      [&]( auto const &... field ) { ( what( field.name, step.*field.member ), ... ); },
      Detail::fieldsOf<std::remove_const_t<Step>> );
}

template<class Step> std::string_view stepName() { return stepNames[Hardware::Step( Step() ).index()]; }

}   // namespace Recording
