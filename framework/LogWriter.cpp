#include "framework/LogWriter.h"

#include "framework/Wire.h"

#include <list>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace Vor {

struct LogWriter::Published final : EntityObserver {
   Published( State & writer, Ptr<Entity const> const & published, std::vector<Entity const *> needs );

   void onAttribute( Entity const &, Attribute const & attribute, Value const & key ) override;

   void createPut( LogBatch & into ) const;
   /// Every value it has, those of collections too, but the members.
   void changesPut( LogBatch & into ) const;
   void changePut( LogBatch & into, Attribute const & attribute, Value const & key ) const;
   void membersAdd() const;

   State & state;
   Ptr<Entity const> const entity;
   std::string const name;
   Type const & type;
   void const * const object;
   std::string_view holder;   // the parent's collection
   // Its parent and what it was made with: only to be looked up, they may have gone.
   std::vector<Entity const *> const needed;
   mutable U64 inWhole = 0;                  // the last that it was put into
   mutable std::vector<std::string> heads;   // of changes, by the attribute's place; made when they are needed first

 private:
   std::string const & headOf( Attribute const & attribute ) const;
};

struct LogWriter::State {
   using List = std::list<Published>;
   using Entities = std::unordered_set<Entity const *>;

   void add( Ptr<Entity const> const & entity ) {
      Entities coming;
      add( entity, coming );
   }
   void add( Ptr<Entity const> const & entity, Entities & coming );
   bool comesAlong( Entity const & needed, Entity const & entity ) const;
   // Its creation, behind those of what it needs.
   void createPut( LogBatch & into, Published const & created ) const;
   // Those below it first.
   void del( std::string const & name );
   void memberChanged( std::string const & directory, Ptr<Entity> const & member, Value const & name );

   List published;   // in the order in which they were
   std::map<std::string, List::iterator> byName;
   std::unordered_map<Entity const *, Published const *> byEntity;
   LogBatch batch;
   U64 wholes = 0;
   std::string key;   // keeps its room
   NameOfEntity const names = [this]( Entity const & entity ) {
      auto const found = byEntity.find( &entity );
      return found == byEntity.end() ? std::string_view() : std::string_view( found->second->name );
   };
};

LogWriter::Published::Published(
   State & writer, Ptr<Entity const> const & published, std::vector<Entity const *> needs )
   : state( writer ),
     entity( published ),
     name( published->fullName().stdString() ),
     type( published->fwkType() ),
     object( type.operations().ofObject( published.ptr() ) ),
     needed( std::move( needs ) ) {
   if ( Entity const * parent = published->parent() ) {
      Attribute const & attribute = parent->fwkType().attributes()[published->parentAttrId()];
      if ( attribute.wire.member ) holder = attribute.name;
   }
   vorAttach( published );
}

void LogWriter::Published::onAttribute( Entity const &, Attribute const & attribute, Value const & key ) {
   if ( attribute.wire.member )
      state.memberChanged( name, attribute.wire.member( object, key ), key );
   else
      changePut( state.batch, attribute, key );
}

void LogWriter::Published::createPut( LogBatch & into ) const {
   Type::Operations const & operations = type.operations();
   LogEntry entry{ .kind = LogEntry::Kind::create, .entity = name, .type = type.name() };
   if ( state.byEntity.contains( entity->parent() ) ) entry.attribute = holder;
   std::string & bytes = into.entryBegin( entry );
   WireWriter to( bytes, state.names );
   to.u32( operations.parametersShape );
   to.u32( operations.shape );
   operations.putParameters( object, to );
   into.entryEnd();
}

void LogWriter::Published::changesPut( LogBatch & into ) const {
   for ( Attribute const & attribute : type.attributes() )
      if ( attribute.wire.put && attribute.kind == Attribute::Kind::changeable )
         changePut( into, attribute, {} );
      else if ( attribute.wire.putAt )
         for ( Value const & key : attribute.keys( object ) ) changePut( into, attribute, key );
}

std::string const & LogWriter::Published::headOf( Attribute const & attribute ) const {
   heads.resize( type.attributes().size() );
   std::string & head = heads[static_cast<std::size_t>( &attribute - type.attributes().data() )];
   if ( head.empty() )
      head = LogBatch::headOf( { .kind = LogEntry::Kind::change, .entity = name, .attribute = attribute.name } );
   return head;
}

void LogWriter::Published::changePut( LogBatch & into, Attribute const & attribute, Value const & key ) const {
   AttributeWire const & wire = attribute.wire;
   if ( wire.put ) {
      WireWriter to( into.entryBegin( headOf( attribute ) ), state.names );
      wire.put( object, to );
      into.entryEnd();
   }
   if ( !wire.putAt ) return;
   LogEntry entry{ .kind = LogEntry::Kind::change, .entity = name, .attribute = attribute.name };
   state.key.clear();
   WireWriter toKey( state.key, state.names );
   wire.putKey( key, toKey );
   entry.key = state.key;
   if ( wire.has( object, key ) ) {
      WireWriter to( into.entryBegin( entry ), state.names );
      wire.putAt( object, key, to );
      into.entryEnd();
   } else {
      entry.kind = LogEntry::Kind::erase;
      into.entryAdd( entry );
   }
}

void LogWriter::Published::membersAdd() const {
   for ( Attribute const & attribute : type.attributes() )
      if ( attribute.wire.member )
         for ( Value const & key : attribute.keys( object ) ) state.add( attribute.wire.member( object, key ) );
}

namespace {

// Its parent, and what its constructor parameters refer to.
std::vector<Entity const *> neededBy( Entity const & entity ) {
   std::vector<Entity const *> needed;
   if ( entity.parent() ) needed.push_back( entity.parent() );
   NameOfEntity const referred = [&]( Entity const & other ) {
      needed.push_back( &other );
      return std::string_view();
   };
   std::string bytes;
   WireWriter to( bytes, referred );
   Type::Operations const & operations = entity.fwkType().operations();
   operations.putParameters( operations.ofObject( &entity ), to );
   return needed;
}

}   // namespace

// Parents that only give others their place; members of a published directory, which come in no order.
bool LogWriter::State::comesAlong( Entity const & needed, Entity const & entity ) const {
   if ( &needed == entity.parent() && &needed.fwkType() == &Entity::staticType() ) return true;
   Entity const * const directory = needed.parent();
   return byEntity.contains( directory ) && directory->fwkType().attributes()[needed.parentAttrId()].wire.member;
}

void LogWriter::State::add( Ptr<Entity const> const & entity, Entities & coming ) {
   if ( byEntity.contains( entity.ptr() ) || !coming.insert( entity.ptr() ).second ) return;
   std::vector<Entity const *> needed = neededBy( *entity );
   for ( Entity const * const other : needed )
      if ( comesAlong( *other, *entity ) ) add( other, coming );
   if ( byEntity.contains( entity.ptr() ) ) return;   // it came with its directory, to which it refers
   String const name = entity->fullName();
   if ( byName.contains( name.stdString() ) )
      throwNameInUseException( "an entity of the full name " + valueToStrep( name ) + " is published already" );
   Published const & added = published.emplace_back( *this, entity, std::move( needed ) );
   byName[added.name] = std::prev( published.end() );
   byEntity[entity.ptr()] = &added;
   added.createPut( batch );
   added.changesPut( batch );
   added.membersAdd();
}

void LogWriter::State::createPut( LogBatch & into, Published const & created ) const {
   if ( created.inWhole == wholes ) return;
   created.inWhole = wholes;
   for ( Entity const * const other : created.needed )
      if ( auto const found = byEntity.find( other ); found != byEntity.end() ) createPut( into, *found->second );
   created.createPut( into );
}

void LogWriter::State::del( std::string const & name ) {
   auto const found = byName.find( name );
   if ( found == byName.end() ) return;
   std::string const below = name + "/";
   for ( auto next = byName.lower_bound( below ); next != byName.end() && next->first.starts_with( below );
         next = byName.lower_bound( below ) )
      del( std::string( next->first ) );
   List const gone = [&] {
      List taken;
      taken.splice( taken.end(), published, found->second );
      return taken;
   }();
   byEntity.erase( gone.front().entity.ptr() );
   byName.erase( found );
   batch.entryAdd( { .kind = LogEntry::Kind::remove, .entity = name } );
}

void LogWriter::State::memberChanged( std::string const & directory, Ptr<Entity> const & member, Value const & name ) {
   std::string const fullName = directory + "/" + valueText( name ).stdString();
   auto const found = byName.find( fullName );
   bool const isPublished = found != byName.end();
   if ( isPublished && member == found->second->entity ) return;
   if ( isPublished ) del( fullName );
   if ( member ) add( member );
}

LogWriter::LogWriter() : state_( std::make_unique<State>() ) {}

LogWriter::~LogWriter() = default;

void LogWriter::entityAdd( Ptr<Entity const> const & entity ) { state_->add( entity ); }

void LogWriter::entityDel( Ptr<Entity const> const & entity ) {
   auto const found = state_->byEntity.find( entity.ptr() );
   if ( found != state_->byEntity.end() ) state_->del( std::string( found->second->name ) );
}

LogBatch const & LogWriter::turn() const { return state_->batch; }

void LogWriter::turnDone() { state_->batch.clear(); }

void LogWriter::whole( LogBatch & into ) const {
   into.clear();
   ++state_->wholes;
   for ( Published const & published : state_->published ) state_->createPut( into, published );
   for ( Published const & published : state_->published ) published.changesPut( into );
}

}   // namespace Vor
