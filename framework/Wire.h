// The wire form of values in the attribute log, little-endian, derived from their types:
//
//    unsigned integers of up to 32 bits, enumerators          4 bytes, whatever their width
//    64-bit integers, numbers with a fraction                 8 bytes
//    bool                                                     1 byte, 0 or 1
//    strings and names                                        4 bytes of length, then the text
//    references to entities                                   as a text: the full name, empty for none
//    a value of its own kind that is one number in all        that number: a register its 32 bits, an id its number
//    any other value type                                     the members of its attribute list, in order
//
// A reference to what is no entity travels as none. A reader refuses what is cut off, longer than the value, or out of
// its type's range.
//
//    std::string bytes;
//    Vor::WireWriter to( bytes, nobody );
//    Vor::wirePut( Op( 1, write_, 0x10, 0x3c ), to );          // 16 bytes
//    Vor::WireReader from( bytes, nowhere );
//    Op const op = Vor::wireTake<Op>( from );
//    from.requireEnd();
#pragma once

#include "framework/AttributeLog.h"
#include "framework/Attributes.h"
#include "framework/Enumeration.h"
#include "framework/Value.h"

#include <bit>
#include <functional>

namespace Vor {

/// An enumerator that this release does not know: not malformed, but of another release.
class UnknownEnumeratorException : public LogFormatException {
 public:
   UnknownEnumeratorException( EnumType const & type, U32 number );
};

/// Finds the entity of a full name; empty where there is none.
using EntityOfName = std::function<Ptr<Entity>( std::string_view fullName )>;
/// The name by which a log knows the entity; empty where it does not.
using NameOfEntity = std::function<std::string_view( Entity const & entity )>;

/// Puts values behind each other.
class WireWriter {
 public:
   WireWriter( std::string & to, NameOfEntity const & names ) : to_( &to ), names_( &names ) {}

   void u32( U32 value ) { put( value ); }
   void u64( U64 value ) { put( value ); }
   void u8( U8 value ) { to_->push_back( static_cast<char>( value ) ); }
   void text( std::string_view text ) {
      put( static_cast<U32>( text.size() ) );
      to_->append( text );
   }
   void reference( Entity const * entity ) { text( entity ? ( *names_ )( *entity ) : std::string_view() ); }

 private:
   template<class N> void put( N value ) {
      char bytes[sizeof value];
      for ( std::size_t i = 0; i < sizeof value; ++i ) bytes[i] = static_cast<char>( value >> ( 8 * i ) );
      to_->append( bytes, sizeof bytes );
   }

   std::string * to_;
   NameOfEntity const * names_;
};

/// Takes values off a wire form, one after the other. Throws LogFormatException.
class WireReader {
 public:
   WireReader( std::string_view bytes, EntityOfName const & entities ) : bytes_( bytes ), entities_( &entities ) {}

   U32 u32() { return number<U32>(); }
   U64 u64() { return number<U64>(); }
   U8 u8() { return number<U8>(); }
   std::string_view text() { return take( u32() ); }
   Ptr<Entity> reference();
   /// Everything has been taken. Throws LogFormatException.
   void requireEnd() const {
      if ( at_ != bytes_.size() ) throwNotAtEnd();
   }

 private:
   std::string_view take( std::size_t count ) {
      if ( count > bytes_.size() - at_ ) throwCutOff( count );
      std::string_view const taken( bytes_.data() + at_, count );
      at_ += count;
      return taken;
   }
   template<class N> N number() {
      std::string_view const taken = take( sizeof( N ) );
      N value = 0;
      for ( std::size_t i = 0; i < sizeof( N ); ++i )
         value |= static_cast<N>( N{ static_cast<U8>( taken[i] ) } << ( 8 * i ) );
      return value;
   }
   [[noreturn]] void throwCutOff( std::size_t count ) const;
   [[noreturn]] void throwNotAtEnd() const;

   std::string_view bytes_;
   std::size_t at_ = 0;
   EntityOfName const * entities_;
};

namespace Detail {

/// One number in all.
template<class T>
concept WireNumber = std::is_class_v<T> && std::constructible_from<T, U32> && requires( T const & value ) {
   { value.value() } -> std::same_as<U32>;
};

template<class T> constexpr bool onWire();
template<class... A> constexpr bool membersOnWire( Attributes<A...> ) {
   return ( requires { A::store; } && ... );
}

template<class T> constexpr bool onWire() {
   if constexpr (
      std::same_as<T, double> || std::same_as<T, String> || std::same_as<T, Name> || std::unsigned_integral<T> ||
      Enumeration<T> || isPtr<T> || WireNumber<T> )
      return true;
   else if constexpr ( requires { typename T::Attributes; } )
      return membersOnWire( typename T::Attributes() );
   else
      return false;
}

template<class T, class Visit> constexpr void forEachMember( Visit && visit ) {
   [&]<class... A>( Attributes<A...> ) { ( visit.template operator()<A>(), ... ); }( typename T::Attributes() );
}

/// FNV-1a.
constexpr U32 mixed( U32 hash, std::string_view text ) {
   for ( char const c : text ) hash = ( hash ^ static_cast<U8>( c ) ) * 16777619U;
   return hash;
}
inline constexpr U32 mixedNothing = 2166136261U;

/// A number of what stands where in a wire form of `T`.
template<class T> constexpr U32 mixedWith( U32 hash ) {
   if constexpr ( std::same_as<T, bool> )
      return mixed( hash, "bool" );
   else if constexpr ( std::same_as<T, double> )
      return mixed( hash, "double" );
   else if constexpr ( std::same_as<T, U64> )
      return mixed( hash, "U64" );
   else if constexpr ( std::unsigned_integral<T> || Enumeration<T> || WireNumber<T> )
      return mixed( hash, "U32" );
   else if constexpr ( std::same_as<T, String> || std::same_as<T, Name> )
      return mixed( hash, "text" );
   else if constexpr ( isPtr<T> )
      return mixed( hash, "entity" );
   else {
      forEachMember<T>( [&]<class A>() {
         hash = mixedWith<std::remove_cvref_t<decltype( std::declval<T>().*A::store )>>( mixed( hash, A::name ) );
      } );
      return hash;
   }
}

/// What the getter of a list's entry gives.
template<class A> using ValueOfEntry = typename Got<std::remove_const_t<decltype( A::get )>>::Value;

[[noreturn]] void throwOutOfRange( U64 number, U64 maximum );
[[noreturn]] void throwOtherEntity( Entity const & found );

}   // namespace Detail

/// Values that have a wire form.
template<class T>
concept OnWire = Detail::onWire<T>();

template<OnWire T> void wirePut( T const & value, WireWriter & to ) {
   if constexpr ( std::same_as<T, bool> )
      to.u8( value );
   else if constexpr ( std::same_as<T, double> )
      to.u64( std::bit_cast<U64>( value ) );
   else if constexpr ( std::unsigned_integral<T> && sizeof( T ) > sizeof( U32 ) )
      to.u64( value );
   else if constexpr ( std::unsigned_integral<T> || Enumeration<T> )
      to.u32( value );
   else if constexpr ( std::same_as<T, String> )
      to.text( value );
   else if constexpr ( std::same_as<T, Name> )
      to.text( value.string() );
   else if constexpr ( Detail::isPtr<T> ) {
      if constexpr ( std::derived_from<typename T::Pointee, Entity> )
         to.reference( value.ptr() );
      else
         to.reference( nullptr );
   } else if constexpr ( Detail::WireNumber<T> )
      to.u32( value.value() );
   else
      Detail::forEachMember<T>( [&]<class A>() { wirePut( value.*A::store, to ); } );
}

template<OnWire T> T wireTake( WireReader & from ) {
   if constexpr ( std::same_as<T, bool> ) {
      U8 const flag = from.u8();
      if ( flag > 1 ) Detail::throwOutOfRange( flag, 1 );
      return flag != 0;
   } else if constexpr ( std::same_as<T, double> )
      return std::bit_cast<double>( from.u64() );
   else if constexpr ( std::unsigned_integral<T> && sizeof( T ) > sizeof( U32 ) )
      return from.u64();
   else if constexpr ( std::unsigned_integral<T> ) {
      U32 const number = from.u32();
      if ( number > std::numeric_limits<T>::max() ) Detail::throwOutOfRange( number, std::numeric_limits<T>::max() );
      return static_cast<T>( number );
   } else if constexpr ( Enumeration<T> ) {
      U32 const number = from.u32();
      EnumType const & type = enumType( T{} );
      if ( !type.open() && !type.text( number ) ) throw UnknownEnumeratorException( type, number );
      return static_cast<T>( number );
   } else if constexpr ( std::same_as<T, String> || std::same_as<T, Name> )
      return String( from.text() );
   else if constexpr ( Detail::isPtr<T> ) {
      Ptr<Entity> const found = from.reference();
      if constexpr ( std::derived_from<typename T::Pointee, Entity> ) {
         T const cast = ptrCast<typename T::Pointee>( found );
         if ( found && !cast ) Detail::throwOtherEntity( *found );
         return cast;
      } else
         return nullptr;
   } else if constexpr ( Detail::WireNumber<T> )
      return T( from.u32() );
   else {
      T value{};
      Detail::forEachMember<T>(
         [&]<class A>() { value.*A::store = wireTake<std::remove_cvref_t<decltype( value.*A::store )>>( from ); } );
      return value;
   }
}

namespace Detail {

/// Reads all of it.
template<class T> [[gnu::visibility( "hidden" )]] T takeAll( WireReader & from ) {
   T const taken = wireTake<T>( from );
   from.requireEnd();
   return taken;
}

/// The constructor parameters, read off a log in order.
template<class... A> std::tuple<ValueOfEntry<A>...> takeParameters( TypeList<A...>, WireReader & from ) {
   std::tuple<ValueOfEntry<A>...> values{ wireTake<ValueOfEntry<A>>( from )... };   // braces: from left to right
   from.requireEnd();
   return values;
}

}   // namespace Detail

}   // namespace Vor
