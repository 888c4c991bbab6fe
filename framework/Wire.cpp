#include "framework/Wire.h"

#include "framework/Entity.h"

namespace Vor {

UnknownEnumeratorException::UnknownEnumeratorException( EnumType const & type, U32 number )
   : LogFormatException( format( "%s has no enumerator %u", type.name(), number ) ) {}

std::string_view WireReader::take( std::size_t count ) {
   std::size_t const left = bytes_.size() - at_;
   if ( count > left )
      throw LogFormatException( format( "expected %zu bytes at byte %zu of the value, found %zu", count, at_, left ) );
   std::string_view const taken = bytes_.substr( at_, count );
   at_ += count;
   return taken;
}

U64 WireReader::number( std::size_t size ) {
   U64 number = 0;
   unsigned shift = 0;
   for ( char const byte : take( size ) ) {
      number |= U64{ static_cast<U8>( byte ) } << shift;
      shift += 8;
   }
   return number;
}

U32 WireReader::u32() { return static_cast<U32>( number( 4 ) ); }
U64 WireReader::u64() { return number( 8 ); }
U8 WireReader::u8() { return static_cast<U8>( number( 1 ) ); }
std::string_view WireReader::text() { return take( u32() ); }

Ptr<Entity> WireReader::reference() {
   std::string_view const name = text();
   return name.empty() ? nullptr : ( *entities_ )( name );
}

void WireReader::requireEnd() const {
   if ( at_ != bytes_.size() )
      throw LogFormatException(
         format( "expected the end at byte %zu of the value, found %zu more", at_, bytes_.size() - at_ ) );
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
