// Every type that is registered, values and entities, with extreme values: into the log, and back. A type that is added
// is covered by being registered.
#include "framework/Wire.h"

#include "card/Card.h"
#include "framework/LogWriter.h"
#include "framework/Mirror.h"
#include "framework/Reflection.h"
#include "framework/TypeRegistry.h"
#include "service/AgentStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace Vor {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using Equal = AttributeWire::Equal;
using Candidates = std::vector<std::string>;

NameOfEntity const nobody = []( Entity const & ) { return std::string_view(); };
EntityOfName const nowhere = []( std::string_view ) -> Ptr<Entity> { return nullptr; };

std::string number( U32 value ) {
   std::string bytes;
   WireWriter( bytes, nobody ).u32( value );
   return bytes;
}
std::string textOf( std::string_view text ) {
   std::string bytes;
   WireWriter( bytes, nobody ).text( text );
   return bytes;
}
std::string ones( std::size_t count ) { return std::string( count, '\xFF' ); }

// Naming something of theirs links what registers them.
auto * const cards = &Host::configure;
auto * const agents = &Host::AgentStatus::staticType;

std::vector<Type const *> registeredTypes() {
   EXPECT_NE( cards, nullptr );
   EXPECT_NE( agents, nullptr );
   std::vector<Type const *> types;
   for ( Module const * module : typeRegistry().modules() )
      types.insert( types.end(), module->types().begin(), module->types().end() );
   return types;
}
/// The descriptors of enumerations are the ones without any attribute or operation.
EnumType const * asEnumeration( Type const * type ) {
   bool const is = type && type->attributes().empty() && !type->operations().ofObject;
   return is ? static_cast<EnumType const *>( type ) : nullptr;
}
bool isEntity( Type const & type ) { return type.operations().putParameters != nullptr; }

/// Wire forms of a type of values, the least and the greatest among them; of one that is no registered type none.
Candidates valuesOf( std::string_view typeName ) {
   if ( typeName == "bool" ) return { std::string( 1, '\0' ), std::string( 1, '\1' ) };
   if ( typeName == "U8" ) return { number( 0 ), number( 0xFF ) };
   if ( typeName == "U16" ) return { number( 0 ), number( 0xFFFF ) };
   if ( typeName == "U32" ) return { number( 0 ), number( 1 ), ones( 4 ) };
   if ( typeName == "U64" || typeName == "double" ) return { std::string( 8, '\0' ), std::string( 7, '\0' ) + "\x40" };
   if ( typeName == "Vor::String" || typeName == "Vor::Name" )
      return {
         textOf( "" ), textOf( "a" ), textOf( std::string( "\0\xFF'/\\\n", 6 ) ),
         textOf( std::string( 100'000, 'x' ) ) };
   if ( typeName.starts_with( "Vor::Ptr<" ) ) return { textOf( "" ) };
   Type const * const type = typeRegistry().type( typeName );
   Candidates values;
   if ( auto const * enumeration = asEnumeration( type ) ) {
      for ( Enumerator const & enumerator : enumeration->enumerators() ) values.push_back( number( enumerator.value ) );
      if ( enumeration->open() ) values.push_back( ones( 4 ) );
      return values;
   }
   if ( !type || !type->operations().take ) return {};
   try {
      WireReader from( values.emplace_back( ones( 4 ) ), nowhere );
      type->operations().take( from );   // it is one number in all
      values.push_back( number( 0 ) );
      return values;
   } catch ( LogFormatException const & ) {
      values.clear();
   }
   // Members, all of them least, greatest, and so on.
   for ( std::size_t i = 0; i < 8; ++i ) {
      std::string & bytes = values.emplace_back();
      for ( Attribute const & attribute : type->attributes() ) {
         Candidates const ofMember = valuesOf( attribute.typeName );
         if ( !ofMember.empty() ) bytes += ofMember[i % ofMember.size()];
      }
   }
   return values;
}

/// What the function takes; of types that are not registered what it takes out of words of four bytes.
Candidates takenOf( std::string_view typeName, std::function<void( WireReader & )> const & take ) {
   Candidates const known = valuesOf( typeName );
   if ( !known.empty() ) return known;
   Candidates taken;
   Candidates const words = { number( 0 ), number( 1 ), number( 2 ), ones( 4 ) };
   Candidates tried = { "" };
   for ( std::size_t count = 1; count <= 4 && taken.empty(); ++count ) {
      Candidates longer;
      for ( std::string const & begun : tried )
         for ( std::string const & word : words ) longer.push_back( begun + word );
      tried = longer;
      for ( std::string const & bytes : tried ) try {
            WireReader from( bytes, nowhere );
            take( from );
            taken.push_back( bytes );
         } catch ( LogFormatException const & ) {   // not of that type
         }
   }
   return taken;
}

class Handle final : public Fru::HamImpl {
 public:
   using HamImpl::HamImpl;
   void read32( U32, U32 & ) override {}
   void write32( U32, U32 ) override {}
};
class Output final : public Fru::Gpo {
 public:
   using Gpo::Gpo;
   Ptr<Fru::GpoImpl> impl() const override { return nullptr; }
};

/// Of the types without a factory.
std::map<std::string, Mirror::Maker> const makers = {
   { "Fru::HamImpl", []( Name const & name ) -> Ptr<Entity> { return allocate<Handle>( name ); } },
   { "Fru::Gpo", []( Name const & name ) -> Ptr<Entity> { return allocate<Output>( name ); } } };

class WireTest : public testing::Test {
 protected:
   /// With its parameters of that turn; each has the name of its type and the turn.
   Ptr<Entity> made( Type const & type, std::size_t turn ) {
      std::string const name = std::string( type.name() ) + "#" + std::to_string( turn );
      if ( auto const maker = makers.find( type.name() ); maker != makers.end() ) return maker->second( Name( name ) );
      std::string parameters;
      for ( Attribute const & attribute : type.attributes() ) {
         if ( attribute.kind != Attribute::Kind::constructorParameter ) continue;
         Candidates values = attribute.name == "name" ? Candidates{ textOf( name ) } : valuesOf( attribute.typeName );
         if ( values.empty() ) values = { number( 0 ), ones( 4 ) };   // an id
         if ( attribute.typeName.starts_with( "Vor::Ptr<" ) )
            for ( auto const & [known, entity] : referents )
               if ( attribute.typeName.find( entity->fwkType().name() ) != std::string::npos )
                  values.push_back( textOf( known ) );
         parameters += values[turn % values.size()];
      }
      WireReader from( parameters, find );
      Ptr<Entity> const entity = ptrCast<Entity>( type.operations().makeFrom( from ) );
      std::string again;
      WireWriter to( again, names );
      type.operations().putParameters( type.operations().ofObject( entity.ptr() ), to );
      EXPECT_EQ( again, parameters ) << type.name();
      return entity;
   }

   /// Gives every attribute its value of that turn, and sees that it is the one that is put.
   void fill( Entity & entity, std::size_t turn ) {
      Type const & type = entity.fwkType();
      void * const object = const_cast<void *>( type.operations().ofObject( &entity ) );
      for ( Attribute const & attribute : type.attributes() ) {
         AttributeWire const & wire = attribute.wire;
         SCOPED_TRACE( testing::Message() << type.name() << "." << attribute.name << " of " << attribute.typeName );
         if ( attribute.kind == Attribute::Kind::changeable ) {
            ASSERT_TRUE( wire.put && wire.take );
            Candidates const values =
               takenOf( attribute.typeName, [&]( WireReader & from ) { wire.take( object, from, Equal::isSet ); } );
            ASSERT_FALSE( values.empty() );
            std::string const & bytes = values[turn % values.size()];
            WireReader from( bytes, find );
            wire.take( object, from, Equal::isSet );
            std::string again;
            WireWriter to( again, names );
            wire.put( object, to );
            EXPECT_EQ( again, bytes );
            refuseOthers( bytes, [&]( WireReader & other ) { wire.take( object, other, Equal::isSet ); } );
         } else if ( wire.takeAt ) {
            Candidates const keys = valuesOf( attribute.keyTypeName );
            Candidates const values = valuesOf( attribute.typeName );
            ASSERT_FALSE( keys.empty() || values.empty() );
            std::string const & key = keys[turn % keys.size()];
            for ( std::string const & bytes : values ) {
               WireReader at( key, find );
               WireReader from( bytes, find );
               wire.takeAt( object, at, from, Equal::isSet );
               std::string again;
               std::string keyAgain;
               WireWriter to( again, names );
               WireWriter toKey( keyAgain, names );
               ASSERT_EQ( attribute.keys( object ).size(), 1 );
               wire.putAt( object, attribute.keys( object ).front(), to );
               wire.putKey( attribute.keys( object ).front(), toKey );
               EXPECT_EQ( again, bytes );
               EXPECT_EQ( keyAgain, key );
            }
         }
      }
   }

   /// What is cut off or too long is none, and changes nothing.
   void refuseOthers( std::string const & bytes, std::function<void( WireReader & )> const & take ) {
      for ( std::string const & other : { bytes.substr( 0, bytes.size() - 1 ), bytes + '\0' } ) {
         WireReader from( other, find );
         EXPECT_THROW( take( from ), LogFormatException );
      }
   }

   std::map<std::string, Ptr<Entity>> referents;
   EntityOfName const find = [this]( std::string_view name ) -> Ptr<Entity> {
      auto const found = referents.find( std::string( name ) );
      return found == referents.end() ? nullptr : found->second;
   };
   std::map<Entity const *, std::string> nameOf;
   NameOfEntity const names = [this]( Entity const & entity ) { return std::string_view( nameOf[&entity] ); };
};

TEST_F( WireTest, EveryRegisteredValueTypeGoesRound ) {
   std::size_t values = 0;
   for ( Type const * type : registeredTypes() ) {
      if ( !type->operations().take ) continue;
      SCOPED_TRACE( type->name() );
      Candidates const candidates = valuesOf( type->name() );
      ASSERT_FALSE( candidates.empty() );
      for ( std::string const & bytes : candidates ) {
         WireReader from( bytes, nowhere );
         Value const value = type->operations().take( from );
         std::string again;
         WireWriter to( again, nobody );
         type->operations().put( value, to );
         EXPECT_EQ( again, bytes ) << valueText( value );
         refuseOthers( bytes, [&]( WireReader & other ) { type->operations().take( other ); } );
         ++values;
      }
   }
   EXPECT_GT( values, 20 );
}

TEST_F( WireTest, EveryRegisteredEntityTypeGoesRoundAndIntoAMirror ) {
   constexpr std::size_t turns = 6;
   LogWriter writer;
   std::set<std::string> seen;
   for ( std::size_t turn = 0; turn < turns; ++turn )
      // Twice, so that those of the second round can refer to those of the first.
      for ( Type const * type : registeredTypes() ) {
         if ( !isEntity( *type ) ) continue;
         SCOPED_TRACE( type->name() );
         ASSERT_TRUE( type->operations().makeFrom || makers.contains( type->name() ) ) << "give it a maker above";
         Ptr<Entity> const entity = made( *type, turn );
         fill( *entity, turn );
         std::string const name = entity->fullName().stdString();
         referents[name] = entity;
         nameOf[entity.ptr()] = name;
         writer.entityAdd( entity );
         seen.insert( type->name() );
      }
   EXPECT_THAT( seen, Contains( "Host::AgentStatus" ) );
   EXPECT_THAT( seen, Contains( "Host::ChipProgress" ) );
   EXPECT_THAT( seen, Contains( "Hardware::SetClearGpo" ) );

   std::vector<std::string> told;
   Mirror mirror( [&]( String const & text ) { told.push_back( text.stdString() ); } );
   for ( auto const & [type, maker] : makers ) mirror.makerIs( type, maker );
   LogBatch whole;
   writer.whole( whole );
   mirror.snapshotIs( whole );
   EXPECT_THAT( told, IsEmpty() );

   LogWriter again;
   for ( Ptr<Entity> const & entity : mirror.entities() ) again.entityAdd( entity );
   LogBatch mirrored;
   again.whole( mirrored );
   EXPECT_EQ( mirrored.count(), whole.count() );
   EXPECT_TRUE( mirrored.bytes() == whole.bytes() );
}

TEST_F( WireTest, EveryRegisteredEnumerationTravelsSomewhere ) {
   std::set<std::string> travelling;
   for ( Type const * type : registeredTypes() )
      if ( isEntity( *type ) || type->operations().take )
         for ( Attribute const & attribute : type->attributes() )
            travelling.insert( std::string( attribute.typeName ) );
   for ( Type const * type : registeredTypes() )
      if ( asEnumeration( type ) ) {
         EXPECT_THAT( travelling, Contains( type->name() ) );
      }
}

}   // namespace
}   // namespace Vor
