// The value of an enumeration that a JSON file names by its text.
//
//    Fru::ActiveType const active = enumeratorOf<Fru::ActiveType>( gpo["activeType"] );
#pragma once

#include "framework/Enumeration.h"
#include "input/Json.h"

namespace Input {

/// Raises the error of the place, with the texts that are accepted, where none of them stands there.
template<Vor::Enumeration E> E enumeratorOf( JsonValue const & value ) {
   auto const enumerators = enumType( E{} ).enumerators();
   return static_cast<E>( enumerators[value.oneOf( namesOf( enumerators, &Vor::Enumerator::text ) )].value );
}

}   // namespace Input
