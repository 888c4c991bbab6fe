// Makes a type's descriptor from its attribute list; included by the source file that defines the type only.
//
//    Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "Hardware::Max24305::Status">(); }
#pragma once

#include "framework/Allocate.h"
#include "framework/Entity.h"
#include "framework/Exception.h"
#include "framework/Value.h"
#include "framework/Wire.h"

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

/// Whether the attribute of the entity type `T` is in the log, beside the constructor parameters.
template<class T, class A> inline constexpr bool isLogged = std::derived_from<T, Entity> && requires {
   requires !isNull( A::set );
}
&&A::kind != Attribute::Kind::plain;

template<class T, class A> constexpr AttributeWire describeWire() {
   AttributeWire wire;
   if constexpr ( isLogged<T, A> ) {
      using V = ValueOfEntry<A>;
      wire.put = []( void const * object, WireWriter & to ) {
         wirePut<V>( std::invoke( A::get, *static_cast<T const *>( object ) ), to );
      };
      wire.take = []( void * object, WireReader & from, AttributeWire::Equal equal ) {
         V const value = takeAll<V>( from );
         T & owner = *static_cast<T *>( object );
         if ( equal == AttributeWire::Equal::isSet || !( std::invoke( A::get, owner ) == value ) )
            std::invoke( A::set, owner, value );
      };
   }
   if constexpr ( std::derived_from<T, Entity> && requires { typename A::Key; } ) {
      using Collection = std::remove_cvref_t<decltype( std::invoke( A::collection, std::declval<T const &>() ) )>;
      using Key = typename Collection::Key;
      using V = decltype( std::declval<Collection>().value( Key() ) );
      if constexpr (
         requires( T & directory, WireReader & from ) { directory.vorMemberIs( from ); } && isNull( A::setAt ) ) {
         using Member = typename V::Pointee;
         wire.memberType = &Member::staticType;
         wire.member = []( void const * object, Value const & name ) -> Ptr<Entity> {
            return std::invoke( A::collection, *static_cast<T const *>( object ) ).value( fromValue<Key>( name ) );
         };
         wire.makeMember = []( void * object, WireReader & parameters ) -> Ptr<Entity> {
            return static_cast<T *>( object )->vorMemberIs( parameters );
         };
      } else if constexpr ( !isNull( A::setAt ) && !isNull( A::deleteAt ) ) {
         wire.putKey = []( Value const & key, WireWriter & to ) { wirePut( fromValue<Key>( key ), to ); };
         wire.has = []( void const * object, Value const & key ) {
            return std::invoke( A::collection, *static_cast<T const *>( object ) ).has( fromValue<Key>( key ) );
         };
         wire.putAt = []( void const * object, Value const & key, WireWriter & to ) {
            wirePut<V>(
               std::invoke( A::collection, *static_cast<T const *>( object ) ).value( fromValue<Key>( key ) ), to );
         };
         wire.takeAt = []( void * object, WireReader & key, WireReader & from, AttributeWire::Equal equal ) {
            Key const at = takeAll<Key>( key );
            V const value = takeAll<V>( from );
            T & owner = *static_cast<T *>( object );
            auto const & collection = std::invoke( A::collection, owner );
            if ( equal == AttributeWire::Equal::isSet || !collection.has( at ) || !( collection.value( at ) == value ) )
               std::invoke( A::setAt, owner, at, value );
         };
         wire.eraseAt = []( void * object, WireReader & key ) {
            std::invoke( A::deleteAt, *static_cast<T *>( object ), takeAll<Key>( key ) );
         };
      }
   }
   return wire;
}

template<class T, class A> constexpr U32 mixedAttribute( U32 hash ) {
   if constexpr ( A::kind == Attribute::Kind::constructorParameter || isLogged<T, A> )
      return mixedWith<ValueOfEntry<A>>( mixed( hash, A::name ) );
   else if constexpr ( requires { typename A::Key; } )
      return mixedWith<typename A::Key>( mixed( hash, A::name ) );
   else
      return hash;
}

template<class T, class... A> constexpr U32 shapeOf( TypeList<A...> ) {
   U32 hash = mixedNothing;
   ( ( hash = mixedAttribute<T, A>( hash ) ), ... );
   return hash;
}
template<class T, class... A> constexpr U32 shapeOf( Attributes<A...> ) { return shapeOf<T>( TypeList<A...>() ); }

template<class T, class A> constexpr Attribute describeAttribute() {
   Attribute attribute{ .name = A::name, .kind = A::kind, .wire = describeWire<T, A>() };
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

template<class T, auto factory> constexpr void describeParameters( Type::Operations & operations ) {
   operations.putParameters = []( void const * object, WireWriter & to ) {
      [&]<class... A>( TypeList<A...> ) {
         ( wirePut( std::invoke( A::get, *static_cast<T const *>( object ) ), to ), ... );
      }( ConstructorParameters<T>() );
   };
   operations.sameParameters = []( void const * object, WireReader & from ) {
      auto const wanted = takeParameters( ConstructorParameters<T>(), from );
      return [&]<class... A>( TypeList<A...> ) {
         return object && std::tuple( std::invoke( A::get, *static_cast<T const *>( object ) )... ) == wanted;
      }( ConstructorParameters<T>() );
   };
   if constexpr ( !isNull( factory ) )
      operations.makeFrom = []( WireReader & from ) -> Ptr<PtrInterface> {
         return std::apply( factory, takeParameters( ConstructorParameters<T>(), from ) );
      };
   operations.parametersShape = shapeOf<T>( ConstructorParameters<T>() );
   operations.shape = shapeOf<T>( typename T::Attributes() );
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
   if constexpr ( std::derived_from<T, Entity> )
      describeParameters<T, factory>( operations );
   else if constexpr ( !std::derived_from<T, PtrInterface> && OnWire<T> && ReadFromText<T> ) {
      operations.put = []( Value const & value, WireWriter & to ) { wirePut( fromValue<T>( value ), to ); };
      operations.take = []( WireReader & from ) { return toValue( takeAll<T>( from ) ); };
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
