// Makes a type's descriptor from its attribute list; included by the source file that defines the type only.
//
//    Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "Hardware::Max24305::Status">(); }
#pragma once

#include "framework/Allocate.h"
#include "framework/Exception.h"
#include "framework/Value.h"

#include <array>
#include <functional>
#include <utility>

namespace Vor {

namespace Detail {

template<class F> struct Signature;
template<class F> struct Signature<F const> : Signature<F> {};
template<class R, class... A> struct Signature<R ( * )( A... )> {
   using Result = R;
   using Arguments = std::tuple<std::remove_cvref_t<A>...>;
};
template<class R, class C, class... A> struct Signature<R ( C::* )( A... )> : Signature<R ( * )( A... )> {};
template<class R, class C, class... A> struct Signature<R ( C::* )( A... ) const> : Signature<R ( * )( A... )> {};

/// The name of a type as the compiler writes it.
template<class T> constexpr std::string_view writtenName() {
   std::string_view name = __PRETTY_FUNCTION__;   // ... [with T = NAME; ...] or ... [T = NAME]
   name.remove_prefix( name.find( "T = " ) + 4 );
   return name.substr( 0, name.find_first_of( ";]" ) );
}

/// The name of a type as the sources write it, the same from every compiler.
template<class T> inline constexpr std::string_view typeName = writtenName<T>();
template<> inline constexpr std::string_view typeName<U8> = "U8";
template<> inline constexpr std::string_view typeName<U16> = "U16";
template<> inline constexpr std::string_view typeName<U32> = "U32";
template<> inline constexpr std::string_view typeName<U64> = "U64";
template<> inline constexpr std::string_view typeName<char const *> = typeName<String>;

template<class F>
inline constexpr auto argumentTypeNames = []<class... A>( std::tuple<A...> * ) {
   return std::array<std::string_view, sizeof...( A )>{ typeName<A>... };
}( static_cast<typename Signature<F>::Arguments *>( nullptr ) );

template<class F, std::size_t i> using ArgumentOf = std::tuple_element_t<i, typename Signature<F>::Arguments>;

template<class... A> consteval std::size_t count( TypeList<A...> ) { return sizeof...( A ); }

constexpr bool isNull( auto function ) { return std::is_same_v<decltype( function ), std::nullptr_t>; }

/// The value behind a getter: a member function, a static one, or the address of a constant.
template<auto getter, class T> decltype( auto ) read( T const & object ) {
   if constexpr ( std::is_member_pointer_v<decltype( getter )> )
      return std::invoke( getter, object );
   else if constexpr ( std::is_invocable_v<decltype( getter )> )
      return getter();
   else
      return *getter;
}

template<class F, class Call> Value callWith( std::span<Value const> arguments, Call && call ) {
   using Arguments = typename Signature<F>::Arguments;
   return [&]<std::size_t... i>( std::index_sequence<i...> )->Value {
      if constexpr ( std::is_void_v<typename Signature<F>::Result> ) {
         call( fromValue<std::tuple_element_t<i, Arguments>>( arguments[i] )... );
         return {};
      } else {
         return toValue( call( fromValue<std::tuple_element_t<i, Arguments>>( arguments[i] )... ) );
      }
   }
   ( std::make_index_sequence<std::tuple_size_v<Arguments>>{} );
}

template<class T, class A> constexpr Attribute describeAttribute() {
   Attribute attribute{ .name = A::name, .kind = A::kind };
   if constexpr ( requires { A::get; } ) {
      attribute.typeName = typeName<std::remove_cvref_t<decltype( read<A::get>( std::declval<T const &>() ) )>>;
      attribute.get = []( void const * object ) {
         return toValue( read<A::get>( *static_cast<T const *>( object ) ) );
      };
   }
   if constexpr ( requires { requires !isNull( A::set ); } )
      attribute.set = []( void * object, Value const & value ) {
         std::invoke( A::set, *static_cast<T *>( object ), fromValue<ArgumentOf<decltype( A::set ), 0>>( value ) );
      };
   if constexpr ( requires { A::store; } )
      attribute.set = []( void * object, Value const & value ) {
         auto & stored = static_cast<T *>( object )->*A::store;
         stored = fromValue<std::remove_cvref_t<decltype( stored )>>( value );
      };
   if constexpr ( requires { A::collection; } ) {
      using Collection = std::remove_cvref_t<decltype( std::invoke( A::collection, std::declval<T const &>() ) )>;
      using Key = typename Collection::Key;
      attribute.typeName = typeName<std::remove_cvref_t<decltype( std::declval<Collection>().value( Key() ) )>>;
      attribute.keyTypeName = typeName<Key>;
      attribute.keys = []( void const * object ) {
         std::vector<Value> keys;
         for ( auto const & key : std::invoke( A::collection, *static_cast<T const *>( object ) ).keys() )
            keys.push_back( toValue( key ) );
         return keys;
      };
      attribute.getAt = []( void const * object, Value const & key ) {
         return toValue(
            std::invoke( A::collection, *static_cast<T const *>( object ) ).value( fromValue<Key>( key ) ) );
      };
   }
   if constexpr ( requires { typename A::Key; } )
      attribute.keyValue = []( void const * key ) { return toValue( *static_cast<typename A::Key const *>( key ) ); };
   if constexpr ( requires { A::getAt; } ) {
      using F = decltype( A::getAt );
      attribute.typeName = typeName<std::remove_cvref_t<typename Signature<F>::Result>>;
      attribute.keyTypeName = typeName<ArgumentOf<F, 0>>;
      attribute.getAt = []( void const * object, Value const & key ) {
         return toValue(
            std::invoke( A::getAt, *static_cast<T const *>( object ), fromValue<ArgumentOf<F, 0>>( key ) ) );
      };
   }
   if constexpr ( requires { requires !isNull( A::setAt ); } )
      attribute.setAt = []( void * object, Value const & key, Value const & value ) {
         using F = decltype( A::setAt );
         std::invoke(
            A::setAt, *static_cast<T *>( object ), fromValue<ArgumentOf<F, 0>>( key ),
            fromValue<ArgumentOf<F, 1>>( value ) );
      };
   if constexpr ( requires { requires !isNull( A::deleteAt ); } )
      attribute.deleteAt = []( void * object, Value const & key ) {
         std::invoke(
            A::deleteAt, *static_cast<T *>( object ), fromValue<ArgumentOf<decltype( A::deleteAt ), 0>>( key ) );
      };
   if constexpr ( requires { A::call; } ) {
      using F = decltype( A::call );
      static_assert( std::tuple_size_v<typename Signature<F>::Arguments> == A::arguments.size() );
      attribute.typeName = typeName<std::remove_cvref_t<typename Signature<F>::Result>>;
      attribute.argumentNames = A::arguments;
      attribute.argumentTypeNames = argumentTypeNames<F>;
      attribute.call = []( void * object, std::span<Value const> arguments ) {
         return callWith<F>( arguments, [object]( auto const &... values ) {
            return std::invoke( A::call, *static_cast<T *>( object ), values... );
         } );
      };
   }
   return attribute;
}

template<class T, class... A> constexpr std::array<Attribute, sizeof...( A )> describeAttributes( Attributes<A...> ) {
   return { describeAttribute<T, A>()... };
}

template<class T> inline constexpr auto attributesOf = describeAttributes<T>( typename T::Attributes{} );

/// The factory of `T`, null where it is a value or abstract.
template<class T> consteval auto factoryIfAny() {
   if constexpr ( std::derived_from<T, PtrInterface> && !std::is_abstract_v<T> )
      return &factoryOf<T>;
   else
      return nullptr;
}

template<class T, auto factory> constexpr Type::Operations describeOperations() {
   Type::Operations operations;
   if constexpr ( std::derived_from<T, PtrInterface> ) {
      operations.ofObject = []( PtrInterface const * object ) -> void const * {
         return static_cast<T const *>( object );
      };
   } else if constexpr ( std::default_initializable<T> && std::equality_comparable<T> ) {
      operations.isDefault = []( void const * object ) { return *static_cast<T const *>( object ) == T(); };
   }
   if constexpr ( requires { T::access(); } ) operations.access = [] { return toValue( T::access() ); };
   if constexpr ( !isNull( factory ) ) {
      static_assert(
         count( ConstructorParameters<T>() ) == std::tuple_size_v<typename Signature<decltype( factory )>::Arguments>,
         "the factory takes the constructor parameters of the list" );
      operations.make = []( std::span<Value const> arguments ) {
         return std::get<Ptr<PtrInterface>>( callWith<decltype( factory )>( arguments, factory ) );
      };
   }
   return operations;
}

}   // namespace Detail

/// The one descriptor of `T`. A `factory` other than the type's own takes the constructor parameters of the list, in
/// order; null makes none.
template<class T, Tag name, auto factory = Detail::factoryIfAny<T>()> Type const & typeOf() {
   static constinit Type const type( name.text, Detail::attributesOf<T>, Detail::describeOperations<T, factory>() );
   return type;
}

}   // namespace Vor
