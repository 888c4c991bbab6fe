// The enumerations of the MAX24305 driver. Each has one table of texts and values, in Max24305Types.cpp.
#pragma once

#include "framework/Enumeration.h"

namespace Hardware::Max24305 {

/// What one operation of a programming sequence does.
enum OpType : U32 { unknownOp_, read_, write_, sleep_ };
/// The clock that feeds the chip.
enum Input : U32 { noInput_, tolvane_, stuffedClock_ };
/// The programming sequence that an inventory record describes. The operations themselves come with the
/// configuration, so nothing here branches on it.
enum ProgramSeq : U32 { ic1In10_oc1Out10_, mClkIn25_oc1Out10_ };
/// What the chip serves.
enum Role : U32 { unknown_, timeSync_ };
/// The published state of one chip.
enum State : U32 { uninitialized_, locking_, ready_, failed_ };

Vor::EnumType const & enumType( OpType );
Vor::EnumType const & enumType( Input );
Vor::EnumType const & enumType( ProgramSeq );
Vor::EnumType const & enumType( Role );
Vor::EnumType const & enumType( State );

using Vor::sequenceToValue;
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

// The enumerator of a number or of a text. Throw RangeException.
inline OpType OpTypeInstance( unsigned value ) { return Vor::enumInstance<OpType>( value ); }
inline OpType OpTypeInstance( Vor::String const & text ) { return Vor::enumInstance<OpType>( text ); }
inline Input InputInstance( unsigned value ) { return Vor::enumInstance<Input>( value ); }
inline Input InputInstance( Vor::String const & text ) { return Vor::enumInstance<Input>( text ); }
inline ProgramSeq ProgramSeqInstance( unsigned value ) { return Vor::enumInstance<ProgramSeq>( value ); }
inline ProgramSeq ProgramSeqInstance( Vor::String const & text ) { return Vor::enumInstance<ProgramSeq>( text ); }
inline Role RoleInstance( unsigned value ) { return Vor::enumInstance<Role>( value ); }
inline Role RoleInstance( Vor::String const & text ) { return Vor::enumInstance<Role>( text ); }
inline State StateInstance( unsigned value ) { return Vor::enumInstance<State>( value ); }
inline State StateInstance( Vor::String const & text ) { return Vor::enumInstance<State>( text ); }

}   // namespace Hardware::Max24305
