// The enumeration service: one table of texts and values per enumeration, everything else derived from it.
//
// An enumeration is a plain `enum E : U32` whose enumerators carry a trailing underscore in code and none in their
// text. It declares, in its own namespace, the function that gives its descriptor, and takes over the service:
//
//    enum Role : U32 { unknown_, timeSync_ };
//    Vor::EnumType const & enumType( Role );              // the table stands in the source file
//    inline Role RoleInstance( unsigned value ) { return Vor::enumInstance<Role>( value ); }
//    inline Role RoleInstance( Vor::String const & text ) { return Vor::enumInstance<Role>( text ); }
//    using Vor::stringValue; using Vor::valueToStrep; using Vor::sequenceToValue; using Vor::operator<<;
//
// An enumeration is closed unless its descriptor says that it is open: reflection stores in a closed one only numbers
// that have an enumerator, in an open one any, as a value of its own.
#pragma once

#include "framework/Strep.h"
#include "framework/Type.h"

#include <iosfwd>
#include <span>

namespace Vor {

struct Enumerator {
   U32 value;
   char const * text;
};

/// The descriptor of one enumeration; registered like any other type.
class EnumType : public Type {
 public:
   enum class Numbers : U8 { closed, open };

   constexpr EnumType( char const * name, std::span<Enumerator const> enumerators, Numbers numbers = Numbers::closed )
      : Type( name ), enumerators_( enumerators ), numbers_( numbers ) {}

   std::span<Enumerator const> enumerators() const { return enumerators_; }
   /// Whether numbers without an enumerator may come.
   bool open() const { return numbers_ == Numbers::open; }

   /// The value, when an enumerator has it. Throws RangeException.
   U32 instance( unsigned value ) const;
   /// The value of the enumerator of that text. Throws RangeException.
   U32 instance( std::string_view text ) const;
   /// The enumerator's text, null for a value that has none.
   char const * text( U32 value ) const;
   /// The enumerator's bare text; a value without one gives its number.
   String stringValue( U32 value ) const;
   /// Reads one enumerator, bare or in single quotes. Throws RangeException and leaves `pos` for an unknown text.
   U32 sequenceToValue( String::IteratorConst & pos, String::IteratorConst const & end ) const;

 private:
   std::span<Enumerator const> enumerators_;
   Numbers numbers_;
};

template<class E>
concept Enumeration = std::is_enum_v<E> && requires( E e ) {
   { enumType( e ) } -> std::same_as<EnumType const &>;
};

template<Enumeration E> E enumInstance( unsigned value ) { return static_cast<E>( enumType( E{} ).instance( value ) ); }
template<Enumeration E> E enumInstance( String const & text ) {
   return static_cast<E>( enumType( E{} ).instance( std::string_view( text ) ) );
}

/// The bare text: read.
template<Enumeration E> String stringValue( E value ) { return enumType( value ).stringValue( value ); }
/// The text as it stands inside other text forms: 'read'.
template<Enumeration E> String valueToStrep( E const & value ) { return valueToStrep( stringValue( value ) ); }
/// Reads one enumerator and moves `pos` behind it. Throws RangeException for an unknown text.
template<Enumeration E> E sequenceToValue( String::IteratorConst & pos, String::IteratorConst const & end, E * ) {
   return static_cast<E>( enumType( E{} ).sequenceToValue( pos, end ) );
}
template<Enumeration E> std::ostream & operator<<( std::ostream & out, E const & value ) {
   return out << stringValue( value );
}

}   // namespace Vor
