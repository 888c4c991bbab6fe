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
   auto const * const aside = std::get_if<Aside>( &event.what );
   if ( aside ) aside_ = aside->begins;
   if ( aside || aside_ ) return;
   last_.push_back( event );
   if ( last_.size() <= max_ ) return;
   if ( auto const * const input = std::get_if<InputChange>( &last_.front().what ) ) {
      // Of each input only how it stands matters, and an agent lives for months.
      std::erase_if( inputs_, [&]( Event const & kept ) {
         auto const & other = std::get<InputChange>( kept.what );
         return other.what == input->what && other.of == input->of;
      } );
      inputs_.push_back( std::move( last_.front() ) );
   } else
      ++dropped_.lines;
   last_.pop_front();
}

}   // namespace Recording
