#include "service/Standby.h"

#include "card/MirroredHam.h"
#include "input/InputError.h"
#include "report/Journal.h"
#include "state/OpenLog.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

// A log that could not be reached is tried again after so many seconds.
constexpr double retryPeriod = 0.2;

void tellStandby( std::string const & text ) {
   Style const style = styleOf( STDOUT_FILENO );
   std::cout << style.quiet( timeOfDay() ) << "  " << text << std::endl;
}

}   // namespace

Standby::Standby( AgentOptions const & options, ServiceManager & manager )
   : manager_( manager ),
     place_( options.state.value() ),
     signals_( nullptr, {}, manager.present() ),
     mirror_( []( Vor::String const & text ) { tellStandby( text.stdString() ); } ),
     control_( options.socket.value(), pollSet_, [this]( Input::Json const & request ) { return answer( request ); } ) {
   pollSet_.descriptorAdd( signals_.descriptor(), [] {} );
   handlesMirrored( mirror_ );
}

std::optional<TakeOver> Standby::run() {
   tellStandby( "stands by, and mirrors " + State::placeText( place_ ) );
   manager_.ready();
   manager_.statusIs( "stands by" );
   while ( !signals_.stopAsked() && !generation_ ) {
      if ( signals_.reloadTaken() ) {
         manager_.reloading();
         reloadAsked_ = true;
         manager_.ready();
      }
      follow();
      manager_.alive();
      pollSet_.wait( std::min( source_ ? retryPeriod * 5 : retryPeriod, manager_.longestWait() ) );
   }
   if ( !generation_ ) {
      manager_.stopping();
      tellStandby( "stopped" );
      return std::nullopt;
   }
   tellStandby( fmt::format( "takes over, generation {}", *generation_ ) );
   TakeOver order{ .generation = *generation_, .published = {} };
   // What came to this side until now; a server that is gone has nothing newer.
   try {
      if ( !source_ ) source_ = State::openSource( place_ );
      source_->snapshot( order.published );
   } catch ( Vor::Exception const & error ) {
      tellStandby( std::string( "the state that was published last cannot be read: " ) + error.what() );
   }
   return order;
}

// Up to the last turn there is.
void Standby::follow() {
   try {
      if ( !source_ ) {
         source_ = State::openSource( place_ );
         pollSet_.descriptorAdd( source_->wakeFd(), [] {} );
      }
      Vor::LogBatch batch;
      for ( ;; ) {
         Vor::LogSource::Got const got = following_ ? source_->next( at_, batch, at_ ) : Vor::LogSource::Got::gap;
         if ( got == Vor::LogSource::Got::nothing ) break;
         if ( got == Vor::LogSource::Got::turn ) {
            mirror_.turn( batch );
            continue;
         }
         at_ = source_->snapshot( batch );
         mirror_.snapshotIs( batch );
         following_ = true;
         if ( at_.generation == 0 ) break;
      }
      if ( !trouble_.empty() ) tellStandby( "the state can be read again" );
      trouble_.clear();
   } catch ( Vor::Exception const & error ) {
      following_ = false;
      if ( trouble_ != error.what() ) tellStandby( std::string( "the state cannot be read: " ) + error.what() );
      trouble_ = error.what();
   }
}

Input::Json Standby::answer( Input::Json const & request ) {
   if ( request.value( "do", "" ) != "role" )
      throw Input::InputError( "this agent stands by, and has no card; expected a request to the active one" );
   if ( request.value( "role", "" ) == "standby" ) return { { "role", "standby" } };
   U32 const generation = request.value( "generation", at_.generation + 1 );
   if ( generation <= at_.generation )
      throw Input::InputError( fmt::format(
         "the active agent has generation {}; expected a higher one, found {}", at_.generation, generation ) );
   generation_ = generation;
   return { { "role", "active" }, { "generation", generation } };
}

}   // namespace Host
