#include "service/RunAgent.h"

#include "card/CardChange.h"
#include "input/InputError.h"
#include "service/Agent.h"
#include "service/Exit.h"
#include "service/ServiceManager.h"
#include "service/Standby.h"
#include "service/UsualPlaces.h"

#include <filesystem>
#include <iostream>

namespace Host {

namespace {

// Where nobody said where state and socket stand, they stand where they usually do. A card that is simulated by the
// agent has no lock; there the first agent has these places, which the lock that is given holds.
void usualPlacesTake(
   Input::CardDescription const & description, AgentOptions & options, std::optional<CardLock> & simulated ) {
   std::string const state = usualStatePath( description );
   try {
      std::string const folder = std::filesystem::path( state ).parent_path();
      ownFolderMake( folder );
      if ( description.place().empty() ) simulated.emplace( folder + "/card", "agent" );
   } catch ( std::exception const & error ) {
      std::cerr << "clockpath: the state is not published, and no requests are taken: " << error.what() << '\n';
      return;
   }
   if ( !options.state ) options.state = state;
   if ( !options.socket ) options.socket = usualSocketPath( description );
}

// What a standby is asked to read again, it needs only now.
void readAgain( Input::CardDescription & description ) {
   try {
      Input::CardDescription read = Input::readCard( description.file );
      requireServedInputs( read );
      changeOf( description, read );
      description = std::move( read );
   } catch ( std::exception const & error ) {
      std::cerr << "clockpath: the card description is not taken: " << error.what() << '\n';
   }
}

}   // namespace

int runAgent( Input::CardDescription description, AgentOptions options ) {
   ServiceManager manager;
   if ( options.role != Role::single_ && ( !options.state || !options.socket ) )
      throw Input::InputError( "--role: expected --state, where both supervisors' states are, and --socket, by which "
                               "each is told who is active" );
   std::optional<CardLock> simulated;
   if ( !options.state || !options.socket ) usualPlacesTake( description, options, simulated );
   for ( ;; ) {
      std::optional<TakeOver> order;
      if ( options.role == Role::standby_ ) {
         Standby standby( options, manager );
         order = standby.run();
         if ( !order ) return exitReady;
         if ( standby.reloadAsked() ) readAgain( description );
         options.role = Role::active_;
         options.generation = order->generation;
      }
      Agent agent( description, options, manager, std::move( order ) );
      int const result = agent.run();
      if ( !agent.standsBy() ) return result;
      description = agent.description();
      options.role = Role::standby_;
   }
}

}   // namespace Host
