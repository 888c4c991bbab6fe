// Hash maps of shared or plain values, by text or by number.
//
//    Vor::HashMap2018<U32> simulatedData;         // keyed by U32
//    simulatedData.valueIs( 7, 0x11 );
//    simulatedData.value( 8 );                    // 0: an absent key gives a default value
#pragma once

#include "framework/Types.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Vor {

template<class K, class V> class HashMap {
 public:
   using Key = K;

   /// With room for `initialCapacity` values before the first rehash.
   explicit HashMap( std::size_t initialCapacity = 4 ) { values_.reserve( initialCapacity ); }

   bool has( Key const & key ) const { return values_.contains( key ); }
   V value( Key const & key ) const {
      auto const found = values_.find( key );
      return found == values_.end() ? V() : found->second;
   }
   std::size_t count() const { return values_.size(); }
   /// The keys in the map's order.
   std::vector<Key> keys() const {
      std::vector<Key> keys;
      keys.reserve( count() );
      for ( auto const & [key, value] : values_ ) keys.push_back( key );
      return keys;
   }
   /// Pairs of key and value, in the map's order; a change of the map ends the walk's validity.
   auto begin() const { return values_.begin(); }
   auto end() const { return values_.end(); }

   /// Inserts, or overwrites the value of an existing key. True when the map differs afterwards.
   bool valueIs( Key const & key, V const & value ) {
      auto const [place, inserted] = values_.try_emplace( key, value );
      if ( inserted ) return true;
      if ( place->second == value ) return false;
      place->second = value;
      return true;
   }
   /// Removes one key and gives the value it had, or a default value when it was absent.
   V valueDel( Key const & key ) {
      auto const node = values_.extract( key );
      return node.empty() ? V() : std::move( node.mapped() );
   }

 private:
   std::unordered_map<Key, V> values_;
};

/// Values by text, each found by any view of its text.
struct HashOfText {
   using is_transparent = void;
   std::size_t operator()( std::string_view text ) const { return std::hash<std::string_view>()( text ); }
};
template<class V> using ByText = std::unordered_map<std::string, V, HashOfText, std::equal_to<>>;

template<class V> using HashMap2018 = HashMap<U32, V>;

}   // namespace Vor
