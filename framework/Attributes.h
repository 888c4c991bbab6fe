// The attribute list: each type declares its attributes once, and everything else is derived from that list -
// reflection, the notification of changes, the comparison when a directory's member is instantiated again, and the
// arguments of the factory.
//
//    using Attributes = Vor::Attributes<
//       Vor::Fixed<"name", &Status::name>,                                             // constructor parameter
//       Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;
//
// Names are template arguments, so that a misspelt or unlisted one does not compile. Order is attribute order; the
// `Fixed` ones stand in the order of the constructor's parameters.
#pragma once

#include "framework/Type.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>

namespace Vor {

/// A text as a template argument.
template<std::size_t size> struct Tag {
   char text[size]{};
   constexpr Tag( char const ( &t )[size] ) { std::copy_n( t, size, text ); }
   constexpr operator std::string_view() const { return { text, size - 1 }; }
};

/// Set by the constructor and never changed.
template<Tag tag, auto getter> struct Fixed {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::constructorParameter;
   static constexpr auto get = getter;
};

/// A constructor parameter that can be changed afterwards; the setter decides what that does.
template<Tag tag, auto getter, auto setter> struct FixedAtFirst {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::constructorParameter;
   static constexpr auto get = getter;
   static constexpr auto set = setter;
};

/// Stored and notified by its setter.
template<Tag tag, auto getter, auto setter, auto callback> struct Changeable {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::changeable;
   static constexpr auto get = getter;
   static constexpr auto set = setter;
   static constexpr auto notify = callback;
};

/// Readable without notification; settable where a setter is named. A getter may also be the address of a constant.
template<Tag tag, auto getter, auto setter = nullptr> struct Plain {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::plain;
   static constexpr auto get = getter;
   static constexpr auto set = setter;
};

/// A public data member of a value type, read and set as it is.
template<Tag tag, auto member> struct Member {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::plain;
   static constexpr auto get = member;
   static constexpr auto store = member;
};

/// Values by key, notifying nobody. `getter` gives an object that has keys() and value( key ); setter and deleter are
/// the owner's own operations, null where it has none.
template<Tag tag, auto getter, auto setter, auto deleter> struct Keyed {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::collection;
   static constexpr auto collection = getter;
   static constexpr auto setAt = setter;
   static constexpr auto deleteAt = deleter;
};

/// Values by key, as Keyed, whose changes are notified. The observer class has two callbacks: one that takes the changed key as a
/// `KeyArgument`, and one for a change of the whole, which no change of one key ever calls.
template<
   Tag tag, auto getter, auto setter, auto deleter, class NotifieeConst, class KeyArgument,
   void ( NotifieeConst::*callback )( KeyArgument ), void ( NotifieeConst::*wholeCallback )()>
struct Collection : Keyed<tag, getter, setter, deleter> {
   static constexpr auto notify = callback;
   static constexpr auto notifyWhole = wholeCallback;
};

/// A collection that is computed rather than kept: it can be read, set or deleted by key, but not walked.
template<Tag tag, auto getter, auto setter, auto deleter> struct Indexed {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::collection;
   static constexpr auto getAt = getter;
   static constexpr auto setAt = setter;
   static constexpr auto deleteAt = deleter;
};

/// A function, with the names of its arguments.
template<Tag tag, auto function, Tag... argumentNames> struct Operation {
   static constexpr std::string_view name = tag;
   static constexpr auto kind = Attribute::Kind::operation;
   static constexpr auto call = function;
   static constexpr std::array<std::string_view, sizeof...( argumentNames )> arguments{ argumentNames... };
};

template<class... A> struct Attributes {
   static constexpr std::size_t count = sizeof...( A );
   using Tuple = std::tuple<A...>;

   /// The place of the attribute of that name; an unlisted one does not compile.
   template<Tag tag> static consteval std::size_t index() {
      constexpr std::string_view wanted = tag;
      std::size_t found = count;
      std::size_t at = 0;
      ( ( found = A::name == wanted ? at : found, ++at ), ... );
      if ( found == count ) throw "no attribute of that name is listed";
      return found;
   }
   template<Tag tag> using Named = std::tuple_element_t<index<tag>(), Tuple>;
};

namespace Detail {

template<class List, class... More> struct AttributesThen;
template<class... A, class... More> struct AttributesThen<Attributes<A...>, More...> {
   using type = Attributes<A..., More...>;
};

template<class... A> auto constructorParameters( Attributes<A...> ) {
   return std::tuple_cat(
      std::conditional_t<A::kind == Attribute::Kind::constructorParameter, std::tuple<A>, std::tuple<>>{}... );
}

}   // namespace Detail

/// The list of a derived type: its base's, then its own.
template<class BaseList, class... More> using AttributesThen = typename Detail::AttributesThen<BaseList, More...>::type;

/// The constructor parameters of `T`, in order, as a tuple of list entries.
template<class T> using ConstructorParameters = decltype( Detail::constructorParameters( typename T::Attributes{} ) );

}   // namespace Vor
