#include "tests/switchover/Cluster.h"

#include "card/CardLock.h"
#include "framework/Wire.h"
#include "hardware/Max24305Types.h"
#include "input/InputError.h"
#include "platform/ClockStatus.h"
#include "recording/Reader.h"
#include "service/ControlSocket.h"
#include "state/OpenLog.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace Switchover {

namespace {

constexpr char chipStatus[] = "/hardware/max24305/status/ptp0";
constexpr char clockStatus[] = "/hardware/kiv/clockStatus/ptp0";

// Locks at its first poll: a bring-up takes 1.3 s.
constexpr char description[] = R"json({
   "access": { "kind": "simulated", "socket": "card.sock", "lockAfterNs": 0 },
   "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 1 } ],
   "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                "spiResetSupported": true,
                "sequence": [
   "Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 48, 'value': 94})",
   "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'write', 'address': 256, 'value': 60})",
   "Value('Hardware::Max24305::Op', ** {'key': 2, 'type': 'read', 'address': 256, 'value': 60})" ] } ] })json";

void noteState( std::map<std::string, States> & seen, std::string const & entity, std::string const & state ) {
   States & states = seen[entity];
   if ( states.empty() || states.back() != state ) states.push_back( state );
}

std::string stateText( std::string const & entity, U32 value ) {
   using namespace Hardware;
   return ( entity == chipStatus ? stringValue( static_cast<Max24305::State>( value ) )
                                 : stringValue( static_cast<Kiv::ClockStatus::State>( value ) ) )
      .stdString();
}

}   // namespace

Cluster::Cluster() {
   card_ = folder_.file( "card.json", description );
   a_.emplace( folder_.path( "redis-a" ) );
   b_.emplace( folder_.path( "redis-b" ), *a_ );
   hardware_.emplace( std::vector<std::string>{ "hardware", card_, "--events", folder_.path( "hardware.events" ) } );
   if ( !hardware_->outputHas( "\n" ) ) throw std::runtime_error( "no hardware" );
}

Cluster::~Cluster() {
   for ( auto & [name, agent] : agents_ )
      if ( agent ) agent->signal( SIGCONT );
}

Host::Process & Cluster::agent( std::string const & name, std::string const & role, std::vector<std::string> more ) {
   std::vector<std::string> words{
      "agent",  card_, "--state",  server( name ).writer(),         "--socket", folder_.path( name + ".sock" ),
      "--role", role,  "--events", folder_.path( name + ".events" ) };
   words.insert( words.end(), more.begin(), more.end() );
   return agents_[name].emplace( words );
}

std::string Cluster::role( std::string const & name, std::string const & role, U32 generation ) const {
   try {
      Host::askAgent(
         folder_.path( name + ".sock" ), { { "do", "role" }, { "role", role }, { "generation", generation } },
         []( std::string const & ) {} );
      return "";
   } catch ( std::exception const & error ) {
      return error.what();
   }
}

void Cluster::timeSync( std::string const & name, std::string const & state ) const {
   Host::askAgent(
      folder_.path( name + ".sock" ),
      { { "do", "set" }, { "entity", "/timeSync" }, { "attribute", "state" }, { "value", state } },
      []( std::string const & ) {} );
}

std::optional<Cluster::Position> Cluster::position( std::string const & name ) const {
   try {
      Input::Json const told =
         Host::askAgent( folder_.path( name + ".sock" ), { { "do", "position" } }, []( std::string const & ) {} );
      auto const at = [&]( char const * what ) {
         return Vor::LogPosition{ told.at( what ).at( 0 ), told.at( what ).at( 1 ) };
      };
      return Position{ at( "handed" ), at( "written" ), at( "safe" ) };
   } catch ( std::exception const & ) {
      return std::nullopt;
   }
}

std::vector<Recording::Event> Cluster::hardwareEvents() const {
   std::vector<Recording::Event> events;
   Recording::Reader reader( folder_.path( "hardware.events" ) );
   while ( auto const event = reader.next() ) events.push_back( *event );
   return events;
}

std::size_t Cluster::resets() const {
   std::vector<Recording::Event> const events = hardwareEvents();
   return static_cast<std::size_t>( std::ranges::count_if( events, []( Recording::Event const & event ) {
      auto const * const gpo = std::get_if<Recording::Gpo>( &event.what );
      return gpo && gpo->active;
   } ) );
}

std::map<std::string, States> Cluster::statesOf( std::string const & name ) const {
   std::map<std::string, States> states;
   Recording::Reader reader( folder_.path( name + ".events" ) );
   bool const adopted = std::ranges::any_of(
      reader.header().start, []( Recording::InputChange const & input ) { return input.what == "adopted"; } );
   for ( char const * entity : { chipStatus, clockStatus } )
      states[entity].push_back( adopted ? stateText( entity, entity == chipStatus ? 2 : 1 ) : stateText( entity, 0 ) );
   while ( auto const event = reader.next() )
      if ( auto const * const state = std::get_if<Recording::State>( &event->what ) )
         noteState( states, state->entity, state->value );
   return states;
}

Watcher::Watcher( std::string place ) : place_( std::move( place ) ), thread_( [this] { read(); } ) {}

Watcher::~Watcher() { stop(); }

std::map<U32, std::map<std::string, States>> Watcher::stop() {
   stops_ = true;
   if ( thread_.joinable() ) thread_.join();
   return seen_;
}

void Watcher::read() {
   std::unique_ptr<Vor::LogSource> source;
   Vor::LogPosition at;
   Vor::LogBatch batch;
   bool following = false;
   while ( !stops_ ) {
      try {
         if ( !source ) source = State::openSource( place_ );
         auto const got = following ? source->next( at, batch, at ) : Vor::LogSource::Got::gap;
         if ( got == Vor::LogSource::Got::nothing ) {
            std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
            continue;
         }
         if ( got == Vor::LogSource::Got::gap ) at = source->snapshot( batch );
         following = at.generation > 0;
         for ( Vor::LogEntry const & entry : batch ) {
            std::string const entity( entry.entity );
            if ( entry.kind != Vor::LogEntry::Kind::change || entry.attribute != "state" ) continue;
            if ( entity != chipStatus && entity != clockStatus ) continue;
            Vor::EntityOfName const none = []( std::string_view ) { return nullptr; };
            noteState( seen_[at.generation], entity, stateText( entity, Vor::WireReader( entry.value, none ).u32() ) );
         }
      } catch ( std::exception const & ) {
         following = false;
         std::this_thread::sleep_for( std::chrono::milliseconds( 2 ) );
      }
   }
}

bool inOrder( States const & seen, States const & had ) {
   auto place = had.begin();
   for ( std::string const & state : seen ) {
      place = std::find( place, had.end(), state );
      if ( place == had.end() ) return false;
   }
   return true;
}

}   // namespace Switchover
