#include "framework/Type.h"

#include "framework/Reflection.h"

namespace Vor {

Attribute const & Type::attribute( std::string_view name ) const {
   for ( Attribute const & attribute : attributes_ )
      if ( attribute.name == name ) return attribute;
   String known;
   for ( Attribute const & attribute : attributes_ ) known += ( known.empty() ? "" : ", " ) + String( attribute.name );
   throw NameNotFoundException( String( name_ ) + " has no attribute '" + String( name ) + "'; it has " + known );
}

Ptr<PtrInterface> Type::make( std::span<NamedValue const> arguments ) const {
   if ( !operations_.make ) throw OperationNotSupportedException( String( name_ ) + " has no factory" );
   std::vector<std::string_view> names;
   for ( Attribute const & attribute : attributes_ )
      if ( attribute.kind == Attribute::Kind::constructorParameter ) names.push_back( attribute.name );
   return operations_.make( argumentsInOrder( names, arguments, name_ ) );
}

}   // namespace Vor
