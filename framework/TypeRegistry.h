// The registry of types, by module: what a library declares when it is loaded.
//
// A library registers its modules from one place, in a fixed order, because the order of static initialisers across
// source files is nobody's promise and an archive drops the files that nobody names:
//
//    // in FanHal.cpp
//    void registerFanHal( Vor::Module & module ) { module.typesAdd<FanSpeed, FanStatus>(); }
//
//    static Vor::Module const fanHal( "FanHal", registerFanHal );
//
// A module's types leave the registry when the library is unloaded.
#pragma once

#include "framework/Type.h"

#include <type_traits>
#include <vector>

namespace Vor {

class Module {
 public:
   /// Enters the module in the registry and runs its registration.
   Module( char const * name, void ( *registerTypes )( Module & ) );
   Module( Module const & ) = delete;
   Module & operator=( Module const & ) = delete;
   ~Module();

   char const * name() const { return name_; }
   /// The types in the order of their registration.
   std::vector<Type const *> const & types() const { return types_; }

   /// Registers a type. Throws NameInUseException when another of its name is registered.
   void typeNodeIs( Type const & type );
   /// Registers the descriptors of these types, values, entities and enumerations, in that order.
   template<class... T> void typesAdd() { ( typeNodeIs( descriptor<T>() ), ... ); }

 private:
   explicit Module( char const * name );

   template<class T> static Type const & descriptor() {
      if constexpr ( std::is_enum_v<T> )
         return enumType( T{} );
      else
         return T::staticType();
   }

   char const * name_;
   std::vector<Type const *> types_;
};

class TypeRegistry {
 public:
   /// The modules in the order in which they were loaded.
   std::vector<Module const *> const & modules() const { return modules_; }
   /// The type of that name, null where none is registered.
   Type const * type( std::string_view name ) const;

 private:
   friend Module;
   std::vector<Module const *> modules_;
};

/// The process's registry.
TypeRegistry const & typeRegistry();

}   // namespace Vor
