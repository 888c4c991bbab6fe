#include "framework/Mirror.h"

#include "framework/HashMap.h"
#include "framework/TypeRegistry.h"
#include "framework/Wire.h"

#include <algorithm>
#include <set>
#include <unordered_set>

namespace Vor {

using Equal = AttributeWire::Equal;
using Kind = LogEntry::Kind;

struct Mirror::State {
   struct Held {
      std::string name;   // full
      Ptr<Entity> entity;
      Type const * type = nullptr;
      void * object = nullptr;
      Held * parent = nullptr;              // null where it is not mirrored
      Attribute const * holder = nullptr;   // the collection of its parent, null where none holds it
      bool otherShape = false;              // the writer has the type otherwise
      U64 order = 0;                        // in which it came
      std::set<Held *> below = {};          // those whose parent it is
   };
   using Keys = std::map<std::pair<Held const *, Attribute const *>, std::set<std::string_view>>;

   explicit State( Tell toTell ) : tell( std::move( toTell ) ) {}
   ~State();

   void snapshotIs( LogBatch const & all );
   void apply( LogEntry const & entry, Equal equal );
   void create( LogEntry const & entry );
   void change( LogEntry const & entry, Equal equal );
   void remove( LogEntry const & entry );
   void drop( Held & gone );
   void eraseOthers( Keys const & keys );
   Held * found( std::string_view name ) {
      // Changes of one entity often stand together.
      if ( last && last->name == name ) return last;
      auto const there = held.find( name );
      return last = there == held.end() ? nullptr : &there->second;
   }
   Held * heldOf( LogEntry const & entry );
   Ptr<Entity>
   made( LogEntry const & entry, Type const & type, Name const & name, Held * parent, Attribute const * holder );
   void skip( LogEntry const & entry, String const & why );
   void tellOnce( String const & text ) {
      if ( told.insert( text.stdString() ).second && tell ) tell( text );
   }
   WireReader reader( std::string_view bytes ) const { return { bytes, entityOfName }; }

   Tell const tell;
   std::map<std::string, Maker, std::less<>> makers;
   ByText<Held> held;
   Held * last = nullptr;                        // that was looked for
   std::set<std::string, std::less<>> skipped;   // entities of which nothing is mirrored
   std::set<std::string> told;
   U64 came = 0;
   EntityOfName const entityOfName = [this]( std::string_view name ) -> Ptr<Entity> {
      auto const found = held.find( name );
      return found == held.end() ? nullptr : found->second.entity;
   };
   NameOfEntity const nobody = []( Entity const & ) { return std::string_view(); };
};

Mirror::State::~State() {
   // Whoever still holds one of them must not find its parent gone; a directory sees to its members.
   for ( auto & [name, there] : held )
      if ( !there.holder ) there.entity->parentIs( nullptr );
}

namespace {

char const * kindText( Kind kind ) {
   switch ( kind ) {
   case Kind::create:
      return "create";
   case Kind::change:
      return "change";
   case Kind::erase:
      return "erase";
   case Kind::remove:
      return "remove";
   }
   return "entry";
}

// Plain entities, which only give others their place, are there in any case.
Type const * typeNamed( std::string_view name ) {
   Type const & plain = Entity::staticType();
   return name == plain.name() ? &plain : typeRegistry().type( name );
}

Attribute const * attributeNamed( Type const & type, std::string_view name ) {
   for ( Attribute const & attribute : type.attributes() )
      if ( attribute.name == name ) return &attribute;
   return nullptr;
}

// Calls for each entry; what it throws names the entry.
template<class Call> void forEachEntry( LogBatch const & batch, Call && call ) {
   std::size_t number = 0;
   for ( LogEntry const & entry : batch ) {
      ++number;
      try {
         call( entry );
      } catch ( Exception const & error ) {
         String const what =
            String( entry.entity ) + ( entry.attribute.empty() ? "" : "." ) + String( entry.attribute );
         throw LogFormatException(
            format( "entry %zu of the batch, %s of ", number, kindText( entry.kind ) ) + valueToStrep( what ) + ": " +
            error.message() );
      }
   }
}

}   // namespace

Mirror::State::Held * Mirror::State::heldOf( LogEntry const & entry ) {
   if ( Held * const there = found( entry.entity ) ) return there;
   if ( !skipped.contains( entry.entity ) ) throw LogFormatException( "there is no entity of that name" );
   return nullptr;
}

void Mirror::State::skip( LogEntry const & entry, String const & why ) {
   if ( Held * const there = found( entry.entity ) ) drop( *there );
   skipped.insert( std::string( entry.entity ) );
   tellOnce( "entities of type " + String( entry.type ) + " are passed over: " + why );
}

Ptr<Entity> Mirror::State::made(
   LogEntry const & entry, Type const & type, Name const & name, Held * parent, Attribute const * holder ) {
   WireReader from = reader( entry.value.substr( 8 ) );
   if ( holder ) return holder->wire.makeMember( parent->object, from );
   auto const maker = makers.find( entry.type );
   Ptr<Entity> const entity =
      maker != makers.end() ? maker->second( name ) : ptrCast<Entity>( type.operations().makeFrom( from ) );
   if ( entity && parent ) entity->parentIs( parent->entity.ptr() );
   return entity;
}

void Mirror::State::create( LogEntry const & entry ) {
   Type const * const type = typeNamed( entry.type );
   if ( !type || !type->operations().sameParameters ) return skip( entry, "this release has no such type" );
   WireReader head = reader( entry.value );
   U32 const parametersShape = head.u32();
   U32 const shape = head.u32();
   if ( type->operations().parametersShape != parametersShape )
      return skip( entry, "this release makes them from other parameters" );
   Name const name = String( head.text() );
   std::string const ending = "/" + name.string().stdString();
   if ( !entry.entity.ends_with( ending ) )
      throw LogFormatException( "expected a full name that ends with " + valueToStrep( String( ending ) ) );
   std::string_view const parentName = entry.entity.substr( 0, entry.entity.size() - ending.size() );

   Held * const parent = found( parentName );
   Attribute const * holder = nullptr;
   if ( !entry.attribute.empty() ) {
      if ( !parent && skipped.contains( parentName ) ) return skip( entry, "what holds them is passed over" );
      if ( !parent ) throw LogFormatException( "there is no entity " + valueToStrep( String( parentName ) ) );
      holder = attributeNamed( *parent->type, entry.attribute );
      if ( !holder || !holder->wire.makeMember || &holder->wire.memberType() != type )
         return skip( entry, "what holds them does not, in this release" );
   } else if ( !type->operations().makeFrom && !makers.contains( entry.type ) )
      return skip( entry, "nobody makes one here" );

   Held * const there = found( entry.entity );
   bool const ofType = there && there->type == type;
   WireReader parameters = reader( entry.value.substr( 8 ) );
   bool same = false;
   try {
      same = type->operations().sameParameters( ofType ? there->object : nullptr, parameters );
   } catch ( UnknownEnumeratorException const & error ) {
      return skip( entry, error.message() );
   }
   if ( there && same && there->holder == holder && there->parent == parent ) {
      there->otherShape = type->operations().shape != shape;
      return;
   }
   if ( there ) drop( *there );
   Ptr<Entity> const entity = made( entry, *type, name, parent, holder );
   if ( !entity || &entity->fwkType() != type ) return skip( entry, "nobody makes one here" );
   if ( auto const passedOver = skipped.find( entry.entity ); passedOver != skipped.end() ) skipped.erase( passedOver );
   Held & added = held[std::string( entry.entity )];
   added = {
      .name = std::string( entry.entity ),
      .entity = entity,
      .type = type,
      .object = const_cast<void *>( type->operations().ofObject( entity.ptr() ) ),
      .parent = parent,
      .holder = holder,
      .otherShape = type->operations().shape != shape,
      .order = ++came };
   if ( parent ) parent->below.insert( &added );
}

void Mirror::State::change( LogEntry const & entry, Equal equal ) {
   Held * const there = heldOf( entry );
   if ( !there ) return;
   auto const passOver = [&]( char const * why, String const & cause ) {
      tellOnce( String( there->type->name() ) + "." + String( entry.attribute ) + " is passed over: " + why + cause );
   };
   Attribute const * const attribute = attributeNamed( *there->type, entry.attribute );
   bool const atKey = !entry.key.empty() || entry.kind == Kind::erase;
   if ( !attribute || !( atKey ? attribute->wire.takeAt != nullptr : attribute->wire.take != nullptr ) )
      return passOver( "this release has no such attribute", "" );
   WireReader value = reader( entry.value );
   WireReader key = reader( entry.key );
   try {
      if ( entry.kind == Kind::erase )
         attribute->wire.eraseAt( there->object, key );
      else if ( atKey )
         attribute->wire.takeAt( there->object, key, value, equal );
      else
         attribute->wire.take( there->object, value, equal );
   } catch ( UnknownEnumeratorException const & error ) {
      passOver( "", error.message() );
   } catch ( LogFormatException const & error ) {
      if ( !there->otherShape ) throw;
      passOver( "the writer's release has it otherwise: ", error.message() );
   }
}

void Mirror::State::remove( LogEntry const & entry ) {
   if ( Held * const there = heldOf( entry ) )
      drop( *there );
   else
      skipped.erase( std::string( entry.entity ) );
}

// With those below it, which go first.
void Mirror::State::drop( Held & gone ) {
   last = nullptr;
   while ( !gone.below.empty() ) drop( **gone.below.begin() );
   auto const kept = held.extract( gone.name );
   if ( gone.parent ) gone.parent->below.erase( &gone );
   if ( gone.holder && gone.parent )
      gone.holder->deleteAt( gone.parent->object, gone.entity->name().string() );
   else
      gone.entity->parentIs( nullptr );
}

void Mirror::State::apply( LogEntry const & entry, Equal equal ) {
   switch ( entry.kind ) {
   case Kind::create:
      return create( entry );
   case Kind::change:
   case Kind::erase:
      return change( entry, equal );
   case Kind::remove:
      return remove( entry );
   }
}

// What stands at keys that the snapshot does not have.
void Mirror::State::eraseOthers( Keys const & keys ) {
   for ( auto & [name, there] : held )
      for ( Attribute const & attribute : there.type->attributes() ) {
         if ( !attribute.wire.eraseAt ) continue;
         auto const listed = keys.find( { &there, &attribute } );
         for ( Value const & key : attribute.keys( there.object ) ) {
            std::string bytes;
            WireWriter to( bytes, nobody );
            attribute.wire.putKey( key, to );
            if ( listed != keys.end() && listed->second.contains( bytes ) ) continue;
            WireReader from = reader( bytes );
            attribute.wire.eraseAt( there.object, from );
         }
      }
}

void Mirror::State::snapshotIs( LogBatch const & all ) {
   std::unordered_set<std::string_view> names;
   for ( LogEntry const & entry : all )
      if ( entry.kind == Kind::create ) names.insert( entry.entity );
   std::erase_if( skipped, [&]( std::string const & name ) { return !names.contains( name ); } );
   std::vector<std::string> vanished;
   for ( auto const & [name, there] : held )
      if ( !names.contains( name ) ) vanished.push_back( name );
   for ( std::string const & name : vanished )
      if ( Held * const there = found( name ) ) drop( *there );

   Keys keys;
   forEachEntry( all, [&]( LogEntry const & entry ) {
      if ( entry.kind == Kind::create ) create( entry );
   } );
   for ( LogEntry const & entry : all ) {
      Held const * const there = entry.key.empty() ? nullptr : found( entry.entity );
      if ( there ) keys[{ there, attributeNamed( *there->type, entry.attribute ) }].insert( entry.key );
   }
   eraseOthers( keys );
   forEachEntry( all, [&]( LogEntry const & entry ) {
      if ( entry.kind != Kind::create ) apply( entry, Equal::isPassedOver );
   } );
}

Mirror::Mirror( Tell tell ) : state_( std::make_unique<State>( std::move( tell ) ) ) {}

Mirror::~Mirror() = default;

void Mirror::makerIs( std::string_view type, Maker maker ) { state_->makers[std::string( type )] = std::move( maker ); }

void Mirror::snapshotIs( LogBatch const & all ) { state_->snapshotIs( all ); }

void Mirror::turn( LogBatch const & batch ) {
   forEachEntry( batch, [&]( LogEntry const & entry ) { state_->apply( entry, Equal::isSet ); } );
}

Ptr<Entity> Mirror::entity( std::string_view fullName ) const { return state_->entityOfName( fullName ); }

std::vector<Ptr<Entity>> Mirror::entities() const {
   std::map<U64, Ptr<Entity>> inOrder;
   for ( auto const & [name, there] : state_->held ) inOrder[there.order] = there.entity;
   std::vector<Ptr<Entity>> entities;
   entities.reserve( inOrder.size() );
   for ( auto const & [order, entity] : inOrder ) entities.push_back( entity );
   return entities;
}

}   // namespace Vor
