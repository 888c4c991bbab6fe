#include "diagnosis/Page.h"

#include <string_view>

namespace Diagnosis {

extern char const pageTemplate[];   // made of diagnosis/page.html by CMake

std::string page( Input::Json history, std::string const & cause ) {
   history["cause"] = cause;
   std::string data = history.dump( -1, ' ', false, Input::Json::error_handler_t::replace );
   // The data stand in a script, which the first "</script" would end.
   for ( std::size_t at = 0; ( at = data.find( '<', at ) ) != std::string::npos; ) data.replace( at, 1, "\\u003c" );
   constexpr std::string_view place = "{{data}}";
   std::string html = pageTemplate;
   return html.replace( html.find( place ), place.size(), data );
}

}   // namespace Diagnosis
