#include "framework/Text.h"

#include <cstdarg>
#include <cstdio>
#include <ostream>

namespace Vor {

std::ostream & operator<<( std::ostream & out, String const & text ) { return out << text.stdString(); }

Name::Name( String const & text ) {
   if ( !text.empty() ) shared_ = new Shared( text );
}

String const & Name::string() const {
   static String const none;
   return shared_ ? shared_->text : none;
}

std::ostream & operator<<( std::ostream & out, Name const & name ) { return out << name.string(); }

String format( char const * conversion, ... ) {
   std::va_list arguments;
   va_start( arguments, conversion );
   std::va_list again;
   va_copy( again, arguments );
   int const length = std::vsnprintf( nullptr, 0, conversion, arguments );
   va_end( arguments );
   std::string text( length < 0 ? 0 : static_cast<std::size_t>( length ), '\0' );
   std::vsnprintf( text.data(), text.size() + 1, conversion, again );
   va_end( again );
   return String( std::move( text ) );
}

}   // namespace Vor
