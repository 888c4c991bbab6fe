#include "recording/LastEvents.h"

#include "recording/EventLog.h"

#include <sstream>

namespace Recording {

std::string LastEvents::text() const {
   std::ostringstream out;
   EventLog log( out );
   log.onRecording( header_ );
   for ( Event const & event : inputs_ ) log.onEvent( event );
   if ( dropped_.lines > 0 ) log.tell( last_.front().ns, dropped_ );
   for ( Event const & event : last_ ) log.onEvent( event );
   log.flush();
   return out.str();
}

void LastEvents::onEvent( Event const & event ) {
   last_.push_back( event );
   if ( last_.size() <= max_ ) return;
   if ( std::holds_alternative<InputChange>( last_.front().what ) )
      inputs_.push_back( std::move( last_.front() ) );
   else
      ++dropped_.lines;
   last_.pop_front();
}

}   // namespace Recording
