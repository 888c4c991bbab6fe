#include "framework/Reflection.h"

#include <algorithm>

namespace Vor {

namespace {

[[noreturn]] void throwNotSupported( Type const & type, std::string_view attribute, char const * operation ) {
   throw OperationNotSupportedException(
      "attribute '" + String( attribute ) + "' of " + type.name() + " does not support '" + operation + "'" );
}

/// The operation of the attribute, if it has one.
template<class Function>
Function offered( Type const & type, Attribute const & attribute, Function Attribute::*operation, char const * name ) {
   if ( !( attribute.*operation ) ) throwNotSupported( type, attribute.name, name );
   return attribute.*operation;
}

}   // namespace

Reflected::Reflected( Ptr<PtrInterface const> const & object, bool writable )
   : held_( object ), type_( &object->fwkType() ) {
   auto const ofObject = type_->operations().ofObject;
   object_ = ofObject ? ofObject( object.ptr() ) : object.ptr();
   if ( writable ) writable_ = const_cast<void *>( object_ );
}

void * Reflected::writable( std::string_view attribute, char const * operation ) const {
   if ( !writable_ ) throwNotSupported( *type_, attribute, operation );
   return writable_;
}

Value Reflected::get( std::string_view name ) const {
   return offered( *type_, type_->attribute( name ), &Attribute::get, "get" )( object_ );
}

void Reflected::set( std::string_view name, Value const & value ) const {
   auto const setter = offered( *type_, type_->attribute( name ), &Attribute::set, "set" );
   setter( writable( name, "set" ), value );
}

std::vector<Value> Reflected::keys( std::string_view name ) const {
   return offered( *type_, type_->attribute( name ), &Attribute::keys, "keys" )( object_ );
}

Value Reflected::getAt( std::string_view name, Value const & key ) const {
   return offered( *type_, type_->attribute( name ), &Attribute::getAt, "get by key" )( object_, key );
}

void Reflected::setAt( std::string_view name, Value const & key, Value const & value ) const {
   auto const setter = offered( *type_, type_->attribute( name ), &Attribute::setAt, "set by key" );
   setter( writable( name, "set by key" ), key, value );
}

void Reflected::deleteAt( std::string_view name, Value const & key ) const {
   auto const deleter = offered( *type_, type_->attribute( name ), &Attribute::deleteAt, "delete by key" );
   deleter( writable( name, "delete by key" ), key );
}

Value Reflected::call( std::string_view name, std::span<NamedValue const> arguments ) const {
   Attribute const & attribute = type_->attribute( name );
   auto const function = offered( *type_, attribute, &Attribute::call, "call" );
   return function( writable( name, "call" ), argumentsInOrder( attribute.argumentNames, arguments, name ) );
}

std::size_t Reflected::hash() const {
   if ( !type_->operations().ofObject ) throw UnhashableTypeException( String( type_->name() ) + " is not hashable" );
   return std::hash<void const *>()( object_ );
}

bool Reflected::isDefault() const {
   if ( !type_->operations().isDefault )
      throw OperationNotSupportedException( String( type_->name() ) + " has no default to compare with" );
   return type_->operations().isDefault( object_ );
}

std::vector<Value> argumentsInOrder(
   std::span<std::string_view const> names, std::span<NamedValue const> arguments, std::string_view of ) {
   for ( NamedValue const & argument : arguments )
      if ( std::ranges::find( names, argument.name ) == names.end() )
         throw NameNotFoundException( "'" + String( of ) + "' takes no argument '" + String( argument.name ) + "'" );
   std::vector<Value> ordered;
   for ( std::string_view const name : names ) {
      auto const found = std::ranges::find( arguments, name, &NamedValue::name );
      if ( found == arguments.end() )
         throw NameNotFoundException( "'" + String( of ) + "' needs the argument '" + String( name ) + "'" );
      ordered.push_back( found->value );
   }
   return ordered;
}

}   // namespace Vor
