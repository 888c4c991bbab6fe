// The enumerations of the Tolvane companion clock chip. Each has one table of texts and values, in TolvaneTypes.cpp.
// Ready and failed have other numbers here than in the MAX24305's enumeration.
#pragma once

#include "framework/Enumeration.h"

namespace Hardware::Tolvane {

/// What the chip serves.
enum Role : U32 { unknown_, timeSync_ };
/// The published state of one chip.
enum State : U32 { uninitialized_, ready_, failed_ };

Vor::EnumType const & enumType( Role );
Vor::EnumType const & enumType( State );

using Vor::sequenceToValue;
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

// The enumerator of a number or of a text. Throw RangeException.
inline Role RoleInstance( unsigned value ) { return Vor::enumInstance<Role>( value ); }
inline Role RoleInstance( Vor::String const & text ) { return Vor::enumInstance<Role>( text ); }
inline State StateInstance( unsigned value ) { return Vor::enumInstance<State>( value ); }
inline State StateInstance( Vor::String const & text ) { return Vor::enumInstance<State>( text ); }

}   // namespace Hardware::Tolvane
