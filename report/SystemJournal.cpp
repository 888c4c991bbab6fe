#include "report/SystemJournal.h"

#include <fmt/format.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Host {

namespace {

// A value of several lines has its length before it, in 8 bytes, the lowest first.
void fieldAdd( std::string & entry, std::string_view name, std::string_view value ) {
   if ( value.empty() ) return;
   entry += name;
   if ( value.find( '\n' ) == std::string_view::npos ) {
      entry += '=';
   } else {
      entry += '\n';
      for ( unsigned shift = 0; shift < 64; shift += 8 ) entry += static_cast<char>( value.size() >> shift & 0xFFU );
   }
   entry += value;
   entry += '\n';
}

}   // namespace

SystemEntry entryOf( JournalLine const & line, bool cardGone ) {
   std::string message;
   for ( std::string const & part : { line.chip.empty() ? "" : line.chip + ":", line.what, line.details } )
      if ( !part.empty() ) message += ( message.empty() ? "" : " " ) + part;
   std::string event = line.what;
   if ( auto const number = event.find_first_of( "0123456789" ); number != std::string::npos )
      event.resize( event.find_last_not_of( ' ', number == 0 ? 0 : number - 1 ) + 1 );
   bool const over = line.what == "failed" || line.what == "stopped";
   bool const bad = cardGone || line.tone == Tone::bad_;
   return {
      .message = message,
      .priority = bad && over ? Priority::error_
                  : bad       ? Priority::warning_
                              : Priority::info_,
      .chip = line.chip,
      .event = event };
}

std::optional<std::string> systemJournalOf( int descriptor ) {
   char const * const stream = std::getenv( "JOURNAL_STREAM" );
   struct stat found {};
   if ( !stream || ::fstat( descriptor, &found ) != 0 ) return std::nullopt;
   if ( fmt::format( "{}:{}", found.st_dev, found.st_ino ) != stream ) return std::nullopt;
   return "/run/systemd/journal/socket";
}

SystemJournal::SystemJournal( std::string const & socket )
   : path_( socket ), socket_( ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) ) {}

bool SystemJournal::tell( SystemEntry const & entry ) const {
   std::string text;
   std::string_view message = entry.message;
   while ( message.ends_with( '\n' ) ) message.remove_suffix( 1 );
   fieldAdd( text, "MESSAGE", message );
   fieldAdd( text, "PRIORITY", std::to_string( static_cast<int>( entry.priority ) ) );
   fieldAdd( text, "SYSLOG_IDENTIFIER", "clockpath" );
   fieldAdd( text, "CHIP", entry.chip );
   fieldAdd( text, "EVENT", entry.event );
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( path_.size() >= sizeof address.sun_path ) return false;
   std::ranges::copy( path_, address.sun_path );
   void const * const general = &address;
   return ::sendto(
             socket_.fd(), text.data(), text.size(), MSG_NOSIGNAL, static_cast<sockaddr const *>( general ),
             sizeof address ) == static_cast<ssize_t>( text.size() );
}

}   // namespace Host
