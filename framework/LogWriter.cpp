#include "framework/LogWriter.h"

#include "framework/Wire.h"

#include <list>
#include <map>
#include <unordered_map>

namespace Vor {

struct LogWriter::Published final : EntityObserver {
   Published( State & writer, Ptr<Entity const> const & published );

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
   std::string_view holder;                  // the parent's collection
   mutable std::vector<std::string> heads;   // of changes, by the attribute's place; made when they are needed first

 private:
   std::string const & headOf( Attribute const & attribute ) const;
};

struct LogWriter::State {
   using List = std::list<Published>;

   void add( Ptr<Entity const> const & entity );
   // Those below it first.
   void del( std::string const & name );
   void memberChanged( std::string const & directory, Ptr<Entity> const & member, Value const & name );

   List published;   // in the order in which they were
   std::map<std::string, List::iterator> byName;
   std::unordered_map<Entity const *, Published const *> byEntity;
   LogBatch batch;
   std::string key;   // keeps its room
   NameOfEntity const names = [this]( Entity const & entity ) {
      auto const found = byEntity.find( &entity );
      return found == byEntity.end() ? std::string_view() : std::string_view( found->second->name );
   };
};

LogWriter::Published::Published( State & writer, Ptr<Entity const> const & published )
   : state( writer ),
     entity( published ),
     name( published->fullName().stdString() ),
     type( published->fwkType() ),
     object( type.operations().ofObject( published.ptr() ) ) {
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
   std::string & bytes =
      into.entryBegin( { .kind = LogEntry::Kind::create, .entity = name, .type = type.name(), .attribute = holder } );
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

void LogWriter::State::add( Ptr<Entity const> const & entity ) {
   if ( byEntity.contains( entity.ptr() ) ) return;
   // Those that only give others their place come along.
   Entity const * const parent = entity->parent();
   if ( parent && &parent->fwkType() == &Entity::staticType() ) add( parent );
   String const name = entity->fullName();
   if ( byName.contains( name.stdString() ) )
      throwNameInUseException( "an entity of the full name " + valueToStrep( name ) + " is published already" );
   Published const & added = published.emplace_back( *this, entity );
   byName[added.name] = std::prev( published.end() );
   byEntity[entity.ptr()] = &added;
   added.createPut( batch );
   added.changesPut( batch );
   added.membersAdd();
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
   for ( Published const & published : state_->published ) published.createPut( into );
   for ( Published const & published : state_->published ) published.changesPut( into );
}

}   // namespace Vor
