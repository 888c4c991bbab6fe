// Type descriptors: what the registry lists and reflection works through.
//
// A descriptor is made at compile time from the type's one attribute list (framework/Attributes.h) and lives as long
// as the library that defines it.
#pragma once

#include "framework/Types.h"

#include <atomic>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace Vor {

class Entity;
class PtrInterface;
class String;
class Type;
class WireReader;
class WireWriter;
template<class T> class Ptr;
using Value = std::variant<std::monostate, bool, U64, double, String, Ptr<PtrInterface const>, Ptr<PtrInterface>>;

/// An argument of an operation or of a factory.
struct NamedValue;

/// How an attribute of an entity travels in the attribute log (framework/Wire.h). All null for one that does not: the
/// values of operations, of plain attributes, and of collections that nobody can be told of.
struct AttributeWire {
   /// What is done with a value that equals the one that stands there.
   enum class Equal : U8 { isSet, isPassedOver };

   void ( *put )( void const * object, WireWriter & to ) = nullptr;
   /// The functions that take read everything before they change anything. Throw LogFormatException.
   void ( *take )( void * object, WireReader & from, Equal equal ) = nullptr;

   // Of a collection.
   void ( *putKey )( Value const & key, WireWriter & to ) = nullptr;
   bool ( *has )( void const * object, Value const & key ) = nullptr;
   void ( *putAt )( void const * object, Value const & key, WireWriter & to ) = nullptr;
   void ( *takeAt )( void * object, WireReader & key, WireReader & value, Equal equal ) = nullptr;
   void ( *eraseAt )( void * object, WireReader & key ) = nullptr;

   // Of a directory: its members are entities of their own.
   Type const & ( *memberType )() = nullptr;
   Ptr<Entity> ( *member )( void const * object, Value const & name ) = nullptr;
   Ptr<Entity> ( *makeMember )( void * object, WireReader & parameters ) = nullptr;
};

/// One attribute of a type: how to reach it on an object of that type. A null function is an operation that the
/// attribute does not offer.
struct Attribute {
   enum class Kind : U8 {
      constructorParameter,   ///< set by the constructor, compared when the entity is instantiated again
      changeable,             ///< stored and notified by its setter
      plain,                  ///< readable, perhaps settable, notifies nobody
      collection,             ///< values by key
      operation,              ///< called with named arguments
   };

   std::string_view name;
   Kind kind = Kind::plain;
   /// The type of the value, of the values of a collection, or of what an operation gives ("void" for nothing), named
   /// as in the registry where it stands there.
   std::string_view typeName = {};
   std::string_view keyTypeName = {};   ///< of a collection

   Value ( *get )( void const * object ) = nullptr;
   void ( *set )( void * object, Value const & value ) = nullptr;

   Value ( *keyValue )( void const * key ) = nullptr;   ///< of a key as notifications hand it on
   std::vector<Value> ( *keys )( void const * object ) = nullptr;
   Value ( *getAt )( void const * object, Value const & key ) = nullptr;
   void ( *setAt )( void * object, Value const & key, Value const & value ) = nullptr;
   void ( *deleteAt )( void * object, Value const & key ) = nullptr;

   Value ( *call )( void * object, std::span<Value const> arguments ) = nullptr;
   std::span<std::string_view const> argumentNames = {};
   std::span<std::string_view const> argumentTypeNames = {};

   AttributeWire wire = {};
};

class Type {
 public:
   /// What differs from type to type; null where the type does not offer it.
   struct Operations {
      void const * ( *ofObject )( PtrInterface const * ) = nullptr;   ///< a shared object as reflection addresses it
      Ptr<PtrInterface> ( *make )( std::span<Value const> constructorArguments ) = nullptr;
      bool ( *isDefault )( void const * object ) = nullptr;
      Value ( *access )() = nullptr;   ///< of a register type: how the hardware lets it be used, as text

      // In the attribute log. Of a value type, a value as reflection passes it on; throw what conversions throw, and
      // LogFormatException.
      void ( *put )( Value const & value, WireWriter & to ) = nullptr;
      Value ( *take )( WireReader & from ) = nullptr;
      // Of an entity type; those that read take the constructor parameters. Throw LogFormatException.
      void ( *putParameters )( void const * object, WireWriter & to ) = nullptr;
      /// Whether they are those of the object; without one they are only read.
      bool ( *sameParameters )( void const * object, WireReader & from ) = nullptr;
      Ptr<PtrInterface> ( *makeFrom )( WireReader & from ) = nullptr;   ///< null also where there is no factory
      /// Numbers that tell whether another release has the type alike: its constructor parameters, and all of it.
      U32 parametersShape = 0;
      U32 shape = 0;
   };

   constexpr explicit Type( char const * name ) : name_( name ) {}
   constexpr Type( char const * name, std::span<Attribute const> attributes, Operations operations )
      : name_( name ), attributes_( attributes ), operations_( operations ) {}
   Type( Type const & ) = delete;
   Type & operator=( Type const & ) = delete;

   char const * name() const { return name_; }
   std::span<Attribute const> attributes() const { return attributes_; }
   /// The attribute of that name. Throws NameNotFoundException.
   Attribute const & attribute( std::string_view name ) const;
   Operations const & operations() const { return operations_; }

   /// A new object of this type, made by its factory; the arguments are named as the constructor parameters, in any
   /// order. Throws OperationNotSupportedException where the type has no factory, NameNotFoundException for a missing
   /// or unknown argument.
   Ptr<PtrInterface> make( std::span<NamedValue const> arguments ) const;

   /// Objects of exactly this type that the tracked allocator made: how many live now, and how many it ever made.
   U64 allocated() const { return allocated_.load( std::memory_order_relaxed ); }
   U64 allocatedEver() const { return allocatedEver_.load( std::memory_order_relaxed ); }
   void vorAllocatedInc() const {
      allocated_.fetch_add( 1, std::memory_order_relaxed );
      allocatedEver_.fetch_add( 1, std::memory_order_relaxed );
   }
   void vorAllocatedDec() const { allocated_.fetch_sub( 1, std::memory_order_relaxed ); }

 private:
   char const * name_;
   std::span<Attribute const> attributes_;
   Operations operations_;
   mutable std::atomic<U64> allocated_{ 0 };
   mutable std::atomic<U64> allocatedEver_{ 0 };
};

}   // namespace Vor
