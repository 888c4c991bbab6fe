#include "framework/Wire.h"

#include "framework/Entity.h"

namespace Vor {

UnknownEnumeratorException::UnknownEnumeratorException( EnumType const & type, U32 number )
   : LogFormatException( format( "%s has no enumerator %u", type.name(), number ) ) {}

void WireReader::throwCutOff( std::size_t count ) const {
   throw LogFormatException(
      format( "expected %zu bytes at byte %zu of the value, found %zu", count, at_, bytes_.size() - at_ ) );
}

void WireReader::throwNotAtEnd() const {
   throw LogFormatException(
      format( "expected the end at byte %zu of the value, found %zu more", at_, bytes_.size() - at_ ) );
}

Ptr<Entity> WireReader::reference() {
   std::string_view const name = text();
   return name.empty() ? nullptr : ( *entities_ )( name );
}

void Detail::throwOutOfRange( U64 number, U64 maximum ) {
   throw LogFormatException(
      "expected a number up to " + valueToStrep( maximum ) + ", found " + valueToStrep( number ) );
}

void Detail::throwOtherEntity( PtrInterface const & found ) {
   throw LogFormatException(
      String( "expected an entity of the attribute's type, found a " ) + found.fwkType().name() );
}

}   // namespace Vor
