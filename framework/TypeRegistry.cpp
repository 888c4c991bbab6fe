#include "framework/TypeRegistry.h"

#include "framework/Exception.h"

namespace Vor {

namespace {

TypeRegistry & registry() {
   static TypeRegistry instance;
   return instance;
}

}   // namespace

TypeRegistry const & typeRegistry() { return registry(); }

Module::Module( char const * name ) : name_( name ) { registry().modules_.push_back( this ); }

// Where the registration throws, the module is made already, and its destructor runs.
Module::Module( char const * name, void ( *registerTypes )( Module & ) ) : Module( name ) { registerTypes( *this ); }

Module::~Module() { std::erase( registry().modules_, this ); }

void Module::typeNodeIs( Type const & type ) {
   if ( typeRegistry().type( type.name() ) )
      throwNameInUseException( String( "type '" ) + type.name() + "' is registered already" );
   types_.push_back( &type );
}

Type const * TypeRegistry::type( std::string_view name ) const {
   for ( Module const * module : modules_ )
      for ( Type const * type : module->types() )
         if ( type->name() == name ) return type;
   return nullptr;
}

}   // namespace Vor
