// One line of the event log while it is being written: `ns` and `ev` first, then fields, then the line's end.
//
//    EventLine( text, ns, "gpo" ).field( "name", name ).field( "active", active );   // ends as it is destroyed
#pragma once

#include "framework/Types.h"

#include <concepts>
#include <span>
#include <string>
#include <string_view>

namespace Recording {

/// Appends the text as a JSON string, in quotes (recording/EventLog.h says how bytes are written).
void jsonStringAppend( std::string & out, std::string_view text );

class EventLine {
 public:
   EventLine( std::string & out, U64 ns, std::string_view event );
   ~EventLine() { out_ += "}\n"; }
   EventLine( EventLine const & ) = delete;
   EventLine & operator=( EventLine const & ) = delete;

   EventLine & field( std::string_view name, std::string_view text );
   EventLine & field( std::string_view name, std::span<U8 const> bytes );
   template<std::unsigned_integral T> EventLine & field( std::string_view name, T value ) {
      nameAppend( name );
      if constexpr ( std::same_as<T, bool> )
         out_ += value ? "true" : "false";
      else
         numberAppend( value );
      return *this;
   }

 private:
   void nameAppend( std::string_view name );
   void numberAppend( U64 number );

   std::string & out_;
};

}   // namespace Recording
