// The attribute list: each type declares its attributes once, and everything else is derived from that list -
// storage, constructor parameters and factory, reflection, the notification of changes, and the comparison when a
// directory's member is instantiated again.
//
//    using Attributes = Vor::Attributes<
//       Vor::Fixed<"name", &Status::name>,                                             // constructor parameter
//       Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;
//    Vor::Stored<Status, Attributes> stored_;                                          // its last data member
//
// Names are template arguments, so that a misspelt or unlisted one does not compile, and no two of a list are the same.
// Order is attribute order; the `Fixed` ones stand in the order of the constructor's parameters. An attribute is of the
// type that its getter gives.
#pragma once

#include "framework/Type.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Vor {

/// A text as a template argument.
template<std::size_t size> struct Tag {
   char text[size]{};
   constexpr Tag( char const ( &t )[size] ) {
      for ( std::size_t i = 0; i < size; ++i ) text[i] = t[i];
   }
   constexpr operator std::string_view() const { return { text, size - 1 }; }
};

/// What every entry of a list has.
template<Tag tag, Attribute::Kind is> struct Entry {
   static constexpr std::string_view name = tag;
   static constexpr Attribute::Kind kind = is;
};

/// Set by the constructor and never changed.
template<Tag tag, auto getter> struct Fixed : Entry<tag, Attribute::Kind::constructorParameter> {
   static constexpr auto get = getter;
};

/// A constructor parameter that can be changed afterwards; the setter decides what that does.
template<Tag tag, auto getter, auto setter> struct FixedAtFirst : Fixed<tag, getter> {
   static constexpr auto set = setter;
};

/// Stored and notified by its setter. A new object has the `first` value; without one, the default value of the type.
template<Tag tag, auto getter, auto setter, auto callback, auto first = nullptr>
struct Changeable : Entry<tag, Attribute::Kind::changeable> {
   static constexpr auto get = getter;
   static constexpr auto set = setter;
   static constexpr auto notify = callback;
};

/// Readable without notification; settable where a setter is named. A getter may also be the address of a constant.
template<Tag tag, auto getter, auto setter = nullptr> struct Plain : Entry<tag, Attribute::Kind::plain> {
   static constexpr auto get = getter;
   static constexpr auto set = setter;
};

/// A public data member of a value type, read and set as it is.
template<Tag tag, auto member> struct Member : Entry<tag, Attribute::Kind::plain> {
   static constexpr auto get = member;
   static constexpr auto store = member;
};

/// Values by key, notifying nobody. `getter` gives an object that has keys() and value( key ); setter and deleter are
/// the owner's own operations, null where it has none.
template<Tag tag, auto getter, auto setter, auto deleter> struct Keyed : Entry<tag, Attribute::Kind::collection> {
   static constexpr auto collection = getter;
   static constexpr auto setAt = setter;
   static constexpr auto deleteAt = deleter;
};

/// Values by key, as Keyed, whose changes are notified. The observer class has two callbacks: one that takes the
/// changed key as a `KeyArgument`, and one for a change of the whole, which no change of one key ever calls.
template<
   Tag tag, auto getter, auto setter, auto deleter, class NotifieeConst, class KeyArgument,
   void ( NotifieeConst::*callback )( KeyArgument ), void ( NotifieeConst::*wholeCallback )()>
struct Collection : Keyed<tag, getter, setter, deleter> {
   using Key = std::remove_cvref_t<KeyArgument>;
   static constexpr auto notify = callback;
};

/// A collection that is computed rather than kept: it can be read, set or deleted by key, but not walked.
template<Tag tag, auto getter, auto setter, auto deleter> struct Indexed : Entry<tag, Attribute::Kind::collection> {
   static constexpr auto getAt = getter;
   static constexpr auto setAt = setter;
   static constexpr auto deleteAt = deleter;
};

/// A function, with the names of its arguments.
template<Tag tag, auto function, Tag... argumentNames> struct Operation : Entry<tag, Attribute::Kind::operation> {
   static constexpr auto call = function;
   static constexpr std::array<std::string_view, sizeof...( argumentNames )> arguments{ argumentNames... };
};

namespace Detail {

consteval bool distinct( std::initializer_list<std::string_view> names ) {
   for ( auto const * name = names.begin(); name != names.end(); ++name )
      for ( auto const * other = names.begin(); other != name; ++other )
         if ( *name == *other ) return false;
   return true;
}

}   // namespace Detail

template<class... A> struct Attributes {
   static constexpr std::size_t count = sizeof...( A );

   static_assert( Detail::distinct( { A::name... } ), "two attributes of the list have one name" );

   /// The place of the attribute of that name; an unlisted one does not compile.
   template<Tag tag> static consteval std::size_t index() {
      constexpr std::string_view wanted = tag;
      std::size_t found = count;
      std::size_t at = 0;
      ( ( found = A::name == wanted ? at : found, ++at ), ... );
      if ( found == count ) throw "no attribute of that name is listed";
      return found;
   }
   template<Tag tag> using Named = std::tuple_element_t<index<tag>(), std::tuple<A...>>;
   template<class... More> using Then = Attributes<A..., More...>;
};

namespace Detail {

template<class... A> struct TypeList {};
template<class... A, class... B> TypeList<A..., B...> operator+( TypeList<A...>, TypeList<B...> );

template<class... A>
auto constructorParameters( Attributes<A...> ) -> decltype( (
   TypeList<>() + ... +
   std::conditional_t<A::kind == Attribute::Kind::constructorParameter, TypeList<A>, TypeList<>>() ) );

template<class Getter> struct Got;
template<class R, class C> struct Got<R ( C::* )() const> {
   using Value = std::remove_cvref_t<R>;
   using Class = C;
};
template<auto getter> using ValueOf = typename Got<decltype( getter )>::Value;

/// The place of one stored value; a debugger shows the name of the getter.
template<auto getter, class T, auto first = nullptr> struct Slot {
   using Type = std::remove_const_t<T>;
   T value = [] {
      if constexpr ( std::is_null_pointer_v<decltype( first )> )
         return Type();
      else
         return Type( first );
   }();
};

/// The slot of an entry: each Fixed and Changeable has one, which the class that declares the getter keeps.
template<class Entry> struct SlotOf { using Owner = void; };
template<Tag tag, auto getter> struct SlotOf<Fixed<tag, getter>> {
   using Owner = typename Got<decltype( getter )>::Class;
   using Slot = Detail::Slot<getter, ValueOf<getter> const>;
};
template<Tag tag, auto getter, auto setter, auto callback, auto first>
struct SlotOf<Changeable<tag, getter, setter, callback, first>> {
   using Owner = typename Got<decltype( getter )>::Class;
   using Slot = Detail::Slot<getter, ValueOf<getter>, first>;
};

template<class Owner, class Entry, Attribute::Kind kind> auto ownSlot() {
   if constexpr ( std::is_same_v<typename SlotOf<Entry>::Owner, Owner> && Entry::kind == kind )
      return TypeList<typename SlotOf<Entry>::Slot>();
   else
      return TypeList<>();
}

template<class Parameters, class Changed> struct Storage;
template<class... P, class... C> struct Storage<TypeList<P...>, TypeList<C...>> : P..., C... {
   explicit Storage( typename P::Type... values ) : P{ std::move( values ) }... {}
};

template<class Owner, class... A>
auto storageOf( Attributes<A...> ) -> Storage<
   decltype( ( TypeList<>() + ... + ownSlot<Owner, A, Attribute::Kind::constructorParameter>() ) ),
   decltype( ( TypeList<>() + ... + ownSlot<Owner, A, Attribute::Kind::changeable>() ) )>;

}   // namespace Detail

/// The values of the Fixed and Changeable attributes whose getters `Owner` itself declares; what a base declares, such
/// as the name, the base stores. Made from the constructor parameters among them, in the order of the list.
template<class Owner, class List> class Stored : decltype( Detail::storageOf<Owner>( List() ) ) {
   using Storage = decltype( Detail::storageOf<Owner>( List() ) );
   template<Tag tag> using Slot = typename Detail::SlotOf<typename List::template Named<tag>>::Slot;

 public:
   using Storage::Storage;
   template<Tag tag> auto const & get() const { return Slot<tag>::value; }
   template<Tag tag> auto & get() { return Slot<tag>::value; }
};

/// The list of a derived type: its base's, then its own.
template<class BaseList, class... More> using AttributesThen = typename BaseList::template Then<More...>;

/// The constructor parameters of `T`, in order, as a TypeList of list entries.
template<class T> using ConstructorParameters = decltype( Detail::constructorParameters( typename T::Attributes() ) );

}   // namespace Vor
