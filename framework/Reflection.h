// Reflection by name: what generic tools use to look at and work on any object without knowing its type.
//
//    Vor::Reflected chip( status );                                  // an entity, or any shared object
//    chip.get( "state" );                                            // "ready"
//    chip.set( "state", Vor::String( "failed" ) );                   // notifies as stateIs does
//    Vor::Reflected( spi ).call( "doRead", { { "address", U64{ 7 } } } );
//    Vor::Reflected( registerValue ).getAt( "bits", Vor::String( "BitRange(0, 5)" ) );
//
// Errors: NameNotFoundException for an unknown name, OperationNotSupportedException for what the attribute or a
// read-only object does not offer, UnhashableTypeException, and what the conversion of values throws (Value.h).
#pragma once

#include "framework/Value.h"

#include <initializer_list>

namespace Vor {

struct NamedValue {
   std::string_view name;
   Value value;
};

class Reflected {
 public:
   /// A shared object, held while this lives; read-only through a `Ptr<T const>`.
   template<class T>
   explicit Reflected( Ptr<T> const & object ) : Reflected( Ptr<PtrInterface const>( object ), !std::is_const_v<T> ) {}
   /// A value such as a register; borrowed, and read-only where it is constant.
   template<class T>
   requires( !std::derived_from<T, PtrInterface> && !Detail::isPtr<std::remove_const_t<T>> ) explicit Reflected(
      T & value )
      : type_( &T::staticType() ), object_( &value ) {
      if constexpr ( !std::is_const_v<T> ) writable_ = &value;
   }

   Type const & type() const { return *type_; }

   Value get( std::string_view name ) const;
   void set( std::string_view name, Value const & value ) const;

   std::vector<Value> keys( std::string_view name ) const;
   Value getAt( std::string_view name, Value const & key ) const;
   void setAt( std::string_view name, Value const & key, Value const & value ) const;
   void deleteAt( std::string_view name, Value const & key ) const;

   /// Calls an operation; every argument is named once, in any order.
   Value call( std::string_view name, std::span<NamedValue const> arguments ) const;
   Value call( std::string_view name, std::initializer_list<NamedValue> arguments = {} ) const {
      return call( name, std::span( arguments.begin(), arguments.size() ) );
   }

   std::size_t hash() const;
   /// Whether the object equals a default-made one of its type.
   bool isDefault() const;

 private:
   Reflected( Ptr<PtrInterface const> const & object, bool writable );
   void * writable( std::string_view attribute, char const * operation ) const;

   Ptr<PtrInterface const> held_;
   Type const * type_ = nullptr;
   void const * object_ = nullptr;
   void * writable_ = nullptr;
};

/// Puts named arguments into the order of `names`. Throws NameNotFoundException for a missing or unknown one.
std::vector<Value>
argumentsInOrder( std::span<std::string_view const> names, std::span<NamedValue const> arguments, std::string_view of );

}   // namespace Vor
