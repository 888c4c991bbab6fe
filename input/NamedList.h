// Things that have a `name`, in the order in which they were added, and found by name however many there are.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Input {

template<class Named> class NamedList {
 public:
   /// Of two with one name, the first is found.
   void push_back( Named one ) {
      places_.try_emplace( one.name, all_.size() );
      all_.push_back( std::move( one ) );
   }
   /// Null where there is none of that name.
   Named const * find( std::string_view name ) const {
      auto const place = places_.find( std::string( name ) );
      return place == places_.end() ? nullptr : &all_[place->second];
   }

   std::size_t size() const { return all_.size(); }
   auto begin() const { return all_.begin(); }
   auto end() const { return all_.end(); }
   Named const & front() const { return all_.front(); }
   Named const & operator[]( std::size_t place ) const { return all_[place]; }
   /// For all but the name.
   Named & operator[]( std::size_t place ) { return all_[place]; }

 private:
   std::vector<Named> all_;
   std::unordered_map<std::string, std::size_t> places_;
};

}   // namespace Input
