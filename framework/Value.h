// A value of any attribute, as reflection, generic observers and tools pass it around.
//
// Numbers, bools, texts and references keep their kind. An enumerator travels as its text (as its number where it has
// none), a value type such as an operation as its text form. `toValue` and `fromValue` convert; fromValue also takes
// the text of a number or a bool, so that a tool can hand on what its user typed.
//
//    Vor::Value state = Vor::toValue( status->state() );                  // "ready"
//    auto again = Vor::fromValue<Max24305::State>( state );
#pragma once

#include "framework/Enumeration.h"
#include "framework/Exception.h"

#include <limits>
#include <variant>

namespace Vor {

/// The value for people: bare texts, decimal numbers, an object's full name where it has one, "none" when empty.
String valueText( Value const & value );

namespace Detail {

[[noreturn]] void throwNoValueOf( Value const & value, char const * wanted );
U64 unsignedFromValue( Value const & value, U64 maximum );
bool boolFromValue( Value const & value );
double doubleFromValue( Value const & value );
String stringFromValue( Value const & value );

template<class T> inline constexpr bool isPtr = false;
template<class T> inline constexpr bool isPtr<Ptr<T>> = true;

template<class T>
concept ReadFromText =
   std::constructible_from<T, String::IteratorConst &, String::IteratorConst const &> && !isPtr<T> &&
   !std::same_as<T, String>;

}   // namespace Detail

template<class T> Value toValue( T const & value ) {
   if constexpr ( std::same_as<T, bool> || std::same_as<T, double> || std::same_as<T, String> )
      return value;
   else if constexpr ( std::unsigned_integral<T> )
      return U64{ value };
   else if constexpr ( std::same_as<T, Name> )
      return value.string();
   else if constexpr ( std::is_convertible_v<T, char const *> )
      return String( value );
   else if constexpr ( Enumeration<T> )
      return enumType( value ).text( value ) ? Value( stringValue( value ) ) : Value( U64{ value } );
   else if constexpr ( Detail::isPtr<T> ) {
      if constexpr ( std::is_const_v<typename T::Pointee> )
         return Ptr<PtrInterface const>( value );
      else
         return Ptr<PtrInterface>( value );
   } else
      return valueToStrep( value );
}

/// Throws RangeException, or ParseException, for a value that is none of `T`.
template<class T> T fromValue( Value const & value ) {
   if constexpr ( std::same_as<T, bool> )
      return Detail::boolFromValue( value );
   else if constexpr ( std::same_as<T, double> )
      return Detail::doubleFromValue( value );
   else if constexpr ( std::same_as<T, String> || std::same_as<T, Name> )
      return Detail::stringFromValue( value );
   else if constexpr ( std::unsigned_integral<T> )
      return static_cast<T>( Detail::unsignedFromValue( value, std::numeric_limits<T>::max() ) );
   else if constexpr ( Enumeration<T> ) {
      if ( !std::holds_alternative<U64>( value ) ) return enumInstance<T>( Detail::stringFromValue( value ) );
      U32 const number = fromValue<U32>( value );
      return enumType( T{} ).open() ? static_cast<T>( number ) : enumInstance<T>( number );
   } else if constexpr ( Detail::isPtr<T> ) {
      using Pointee = typename T::Pointee;
      if ( std::holds_alternative<std::monostate>( value ) ) return nullptr;
      Ptr<Pointee> found;
      bool empty = false;
      if ( auto const * object = std::get_if<Ptr<PtrInterface>>( &value ) ) {
         empty = !*object;
         found = ptrCast<Pointee>( *object );
      } else if ( auto const * constant = std::get_if<Ptr<PtrInterface const>>( &value ) ) {
         empty = !*constant;
         if constexpr ( std::is_const_v<Pointee> ) found = ptrCast<Pointee>( *constant );
      }
      if ( !found && !empty ) Detail::throwNoValueOf( value, "an object of the attribute's type" );
      return found;
   } else {
      static_assert( Detail::ReadFromText<T>, "a value type is read back by its constructor from a text range" );
      String const text = valueText( value );
      auto pos = text.begin();
      T const read( pos, text.end() );
      if ( pos != text.end() )
         throw ParseException( "expected the end of the text, found " + foundText( pos, text.end() ) );
      return read;
   }
}

}   // namespace Vor
