#include "command/StateCommands.h"

#include "card/CardLock.h"
#include "framework/TypeRegistry.h"
#include "input/InputError.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/AgentRequests.h"
#include "service/ControlSocket.h"
#include "service/Exit.h"
#include "service/UsualPlaces.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <thread>

namespace Host {

using Input::Json;

namespace {

std::string wordAt( StateOptions const & options, std::size_t at ) {
   return at < options.words.size() ? options.words[at] : "";
}

std::string tableText( std::vector<ShownValue> const & values ) {
   std::size_t width = 0;
   for ( ShownValue const & one : values ) width = std::max( width, one.name().size() );
   std::string text;
   for ( ShownValue const & one : values )
      text += fmt::format( "   {}  {}\n", padded( one.name(), width ), shownText( one.value ) );
   return text;
}

Json entityJson( Vor::Ptr<Vor::Entity> const & entity ) {
   return {
      { "entity", entity->fullName().stdString() },
      { "type", entity->fwkType().name() },
      { "attributes", jsonOf( shownValues( entity ) ) } };
}

std::string entityText( Vor::Ptr<Vor::Entity> const & entity, Style const & style ) {
   return style.strong( entity->fullName() ) + "  " + style.quiet( entity->fwkType().name() ) + "\n" +
          tableText( shownValues( entity ) );
}

Json asked( StateOptions const & options, Json const & request ) {
   std::string socket = options.socket.empty() ? StateView( options ).socket() : options.socket;
   // One that waits for its first answer has published nothing yet.
   if ( socket.empty() && !options.card.empty() ) socket = usualSocketPath( Input::readCard( options.card ) );
   if ( socket.empty() ) throw CardUnavailable( "no agent has a socket for requests there" );
   return askAgent( socket, request, &waitingTell );
}

int tellAnswer( Json const & answer, char const * key, bool json ) {
   if ( json ) {
      std::cout << jsonText( answer );
      return exitReady;
   }
   if ( auto const found = answer.find( key ); found != answer.end() )
      std::cout << ( found->is_number_unsigned() ? shownText( found->get<U64>() )
                     : found->is_string()        ? found->get<std::string>()
                     : found->is_null()          ? "none"
                                                 : found->dump() )
                << '\n';
   if ( answer.contains( "heldBack" ) ) std::cout << "held back: " << answer["heldBack"].get<std::string>() << '\n';
   return exitReady;
}

// Tells of each change of the entities that were asked for, as the mirror makes it.
class Watcher {
 public:
   explicit Watcher( StateOptions const & options )
      : view_( options ), json_( options.json ), entity_( wordAt( options, 0 ) ), attribute_( wordAt( options, 1 ) ) {
      if ( !entity_.empty() ) shownValues( view_.entity( entity_ ), attribute_ );   // they are there
      for ( auto const & entity : view_.entities() ) observe( entity );
   }

   void run() {
      for ( std::string trouble; std::cout.flush(); ) {
         try {
            view_.follow(
               [this]( Vor::LogEntry const & entry ) { applied( entry ); },
               [this]( Vor::LogPosition at ) { gap( at ); } );
            if ( gap_ ) lookAgain();
            trouble.clear();
         } catch ( Vor::LogUnavailableException const & error ) {
            if ( trouble != error.what() ) std::cerr << "clockpath: " << error.what() << "; tried again every second\n";
            trouble = error.what();
            std::this_thread::sleep_for( std::chrono::seconds( 1 ) );
         }
      }
   }

 private:
   struct Observer final : Vor::EntityObserver {
      Observer( Vor::Ptr<Vor::Entity> const & entity, Watcher & watcher ) : watcher( watcher ) {
         vorAttach( Vor::Ptr<Vor::Entity const>( entity ) );
      }
      void
      onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & key ) override {
         watcher.changed( entity, attribute, key );
      }
      Watcher & watcher;
   };

   void observe( Vor::Ptr<Vor::Entity> const & entity ) {
      observers_[entity->fullName().stdString()] = new Observer( entity, *this );
   }

   bool wanted( std::string const & entity ) const { return entity_.empty() || entity == entity_; }

   void tell( Json const & line, std::string const & text ) {
      std::string const at = positionText( view_.position() ).stdString();
      if ( json_ ) {
         Json whole{ { "position", at } };
         whole.update( line );
         std::cout << whole.dump() << '\n';
      } else
         std::cout << at << "  " << text << '\n';
      std::cout.flush();
   }

   void changed( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & key ) {
      std::string const name = entity.fullName().stdString();
      if ( !wanted( name ) || ( !attribute_.empty() && attribute.name != attribute_ ) ) return;
      Vor::Reflected const reflected{ Vor::Ptr<Vor::Entity const>( &entity ) };
      bool const keyed = !std::holds_alternative<std::monostate>( key );
      ShownValue shown{ attribute.name, key, {} };
      bool const there = !keyed || std::ranges::count( reflected.keys( attribute.name ), key ) != 0;
      if ( there ) shown.value = keyed ? reflected.getAt( attribute.name, key ) : reflected.get( attribute.name );
      Json line{ { "entity", name }, { "attribute", std::string( attribute.name ) } };
      if ( keyed ) line["key"] = jsonOf( key );
      line["value"] = there ? jsonOf( shown.value ) : Json();
      if ( !there ) line["erased"] = true;
      tell( line, fmt::format( "{}  {}  {}", name, shown.name(), there ? shownText( shown.value ) : "erased" ) );
   }

   void came( Vor::Ptr<Vor::Entity> const & entity ) {
      std::string const name = entity->fullName().stdString();
      observe( entity );
      std::string const type = entity->fwkType().name();
      if ( wanted( name ) )
         tell( { { "entity", name }, { "came", type } }, fmt::format( "{}  came, a {}", name, type ) );
   }
   void went( std::string const & name ) {
      observers_.erase( name );
      if ( wanted( name ) ) tell( { { "entity", name }, { "gone", true } }, name + "  has gone" );
   }

   void applied( Vor::LogEntry const & entry ) {
      std::string const name( entry.entity );
      if ( entry.kind == Vor::LogEntry::Kind::create ) {
         if ( auto const entity = view_.the<Vor::Entity>( name ) ) came( entity );
      } else if ( entry.kind == Vor::LogEntry::Kind::remove )
         went( name );
   }

   void gap( Vor::LogPosition at ) {
      std::string const to = positionText( at ).stdString();
      tell( { { "gap", to } }, fmt::format( "gap: what came before {} was not seen; only what differs is told", to ) );
      gap_ = true;
   }

   // Entities of another making may stand there.
   void lookAgain() {
      gap_ = false;
      std::map<std::string, Vor::Ptr<Vor::Entity>> now;
      for ( auto const & entity : view_.entities() ) now[entity->fullName().stdString()] = entity;
      std::vector<std::string> left;
      for ( auto const & [name, observer] : observers_ )
         if ( !now.contains( name ) ) left.push_back( name );
      for ( std::string const & name : left ) went( name );
      for ( auto const & [name, entity] : now ) {
         auto const found = observers_.find( name );
         if ( found == observers_.end() || found->second->vorNotifier() != entity.ptr() ) came( entity );
      }
   }

   StateView view_;
   bool const json_;
   std::string const entity_;
   std::string const attribute_;
   std::map<std::string, Vor::Ptr<Observer>> observers_;
   bool gap_ = false;
};

char const * kindText( Vor::Attribute const & attribute ) {
   switch ( attribute.kind ) {
   case Vor::Attribute::Kind::constructorParameter:
      return "constructor parameter";
   case Vor::Attribute::Kind::changeable:
      return "changeable";
   case Vor::Attribute::Kind::plain:
      return attribute.set ? "settable" : "read only";
   case Vor::Attribute::Kind::collection:
      return "collection";
   case Vor::Attribute::Kind::operation:
      return "operation";
   }
   return "";
}

std::string argumentsText( Vor::Attribute const & operation ) {
   std::string text;
   for ( std::size_t at = 0; at < operation.argumentNames.size(); ++at )
      text +=
         fmt::format( "{}{} {}", at == 0 ? "" : ", ", operation.argumentTypeNames[at], operation.argumentNames[at] );
   return text.empty() ? "()" : "( " + text + " )";
}

Json typeJson( Vor::Type const & type ) {
   Json attributes = Json::array();
   Json operations = Json::array();
   for ( Vor::Attribute const & one : type.attributes() ) {
      Json json{ { "name", std::string( one.name ) }, { "type", std::string( one.typeName ) } };
      if ( one.call ) {
         json["arguments"] = Json::array();
         for ( std::size_t at = 0; at < one.argumentNames.size(); ++at )
            json["arguments"].push_back(
               { { "name", std::string( one.argumentNames[at] ) },
                 { "type", std::string( one.argumentTypeNames[at] ) } } );
         operations.push_back( json );
      } else {
         if ( !one.keyTypeName.empty() ) json["key"] = std::string( one.keyTypeName );
         json["kind"] = kindText( one );
         json["settable"] = one.set || one.setAt;
         attributes.push_back( json );
      }
   }
   return {
      { "name", type.name() },
      { "factory", type.operations().make != nullptr },
      { "attributes", attributes },
      { "operations", operations } };
}

std::string typeText( Vor::Type const & type, Style const & style ) {
   std::string text =
      style.strong( type.name() ) + ( type.operations().make ? style.quiet( "  has a factory" ) : "" ) + "\n";
   for ( Vor::Attribute const & one : type.attributes() ) {
      std::string const name = std::string( one.name ) + ( one.call ? argumentsText( one ) : "" );
      std::string const key = one.keyTypeName.empty() ? "" : " by " + std::string( one.keyTypeName );
      text += fmt::format( "   {}  {}{}  {}\n", name, one.typeName, key, style.quiet( kindText( one ) ) );
   }
   return text;
}

}   // namespace

void waitingTell( std::string const & what ) { std::cerr << "clockpath: waiting: " << what << std::endl; }

int inspect( StateOptions const & options ) {
   StateView const view( options );
   Style const style = styleOf( STDOUT_FILENO );
   std::string const name = wordAt( options, 0 );
   std::string const attribute = wordAt( options, 1 );
   if ( !attribute.empty() ) {
      std::vector<ShownValue> const values = shownValues( view.entity( name ), attribute );
      if ( options.json )
         std::cout << jsonText( jsonOf( values ) );
      else if ( values.size() == 1 && values.front().name() == attribute )
         std::cout << shownText( values.front().value ) << '\n';
      else
         std::cout << tableText( values );
   } else if ( !name.empty() ) {
      if ( options.json )
         std::cout << jsonText( entityJson( view.entity( name ) ) );
      else
         std::cout << entityText( view.entity( name ), style );
   } else if ( options.json ) {
      Json entities = Json::array();
      for ( auto const & entity : view.entities() ) entities.push_back( entityJson( entity ) );
      std::cout << jsonText(
         { { "position", positionText( view.position() ).stdString() }, { "entities", entities } } );
   } else {
      auto entities = view.entities();
      std::ranges::stable_sort( entities, {}, []( auto const & entity ) { return entity->fullName(); } );
      for ( auto const & entity : entities ) std::cout << entityText( entity, style );
   }
   return exitReady;
}

int set( StateOptions const & options ) {
   std::vector<std::string> const & words = options.words;
   Json request{ { "do", "set" }, { "entity", words.at( 0 ) }, { "attribute", words.at( 1 ) } };
   if ( words.size() > 3 ) request["key"] = words[2];
   request["value"] = words.back();
   return tellAnswer( asked( options, request ), "value", options.json );
}

int call( StateOptions const & options ) {
   Json arguments = Json::object();
   for ( std::size_t at = 2; at < options.words.size(); ++at ) {
      std::string const & word = options.words[at];
      std::size_t const equals = word.find( '=' );
      if ( equals == std::string::npos ) throw Input::InputError( "expected NAME=VALUE, found \"" + word + "\"" );
      arguments[word.substr( 0, equals )] = word.substr( equals + 1 );
   }
   Json const request{
      { "do", "call" },
      { "object", options.words.at( 0 ) },
      { "operation", options.words.at( 1 ) },
      { "arguments", arguments } };
   return tellAnswer( asked( options, request ), "result", options.json );
}

int retry( StateOptions const & options ) {
   Json const answer =
      asked( options, { { "do", "retry" }, { "chip", options.words.at( 0 ) }, { "yes", options.yes } } );
   tellAnswer( answer, "state", options.json );
   std::string const state = answer.value( "state", "" );
   return state == "ready" || state == "locking" ? exitReady : exitNotReady;
}

int watch( StateOptions const & options ) {
   Watcher( options ).run();
   return exitReady;
}

int types( StateOptions const & options ) {
   Style const style = styleOf( STDOUT_FILENO );
   std::string const wanted = wordAt( options, 0 );
   Json modules = Json::array();
   std::vector<std::string_view> known;
   std::string text;
   bool found = wanted.empty();
   for ( Vor::Module const * module : Vor::typeRegistry().modules() ) {
      Json list = Json::array();
      for ( Vor::Type const * type : module->types() ) {
         known.emplace_back( type->name() );
         if ( !wanted.empty() && wanted != type->name() ) continue;
         found = true;
         list.push_back( typeJson( *type ) );
         text += typeText( *type, style );
      }
      if ( !list.empty() ) modules.push_back( { { "name", module->name() }, { "types", list } } );
   }
   if ( !found ) throw Input::InputError( Input::unknownText( "type", wanted, known ) );
   std::cout << ( options.json ? jsonText( { { "modules", modules } } ) : text );
   return exitReady;
}

}   // namespace Host
