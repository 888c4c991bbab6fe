#include "service/PtpDaemon.h"

#include "framework/ActivityManager.h"
#include "input/InputError.h"

#include <fmt/format.h>

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

namespace Host {

namespace {

// The daemon tells changes for so long, and is asked again well before that ends; also one that was started anew.
constexpr U16 toldSeconds = 10;
constexpr U32 periodsBetweenSubscriptions = 4;

double ptpNow() { return Vor::activityManager().config().clock()->now(); }

// Whole: the daemon answers to this name, and has folders and descriptors of its own.
sockaddr_un ptpAddressOf( std::string const & path ) {
   std::string const whole = std::filesystem::absolute( path );
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( whole.size() >= sizeof address.sun_path )
      throw Input::InputError( fmt::format(
         "{}: expected a socket's name of at most {} bytes, found {}", whole, sizeof address.sun_path - 1,
         whole.size() ) );
   std::memcpy( address.sun_path, whole.c_str(), whole.size() + 1 );
   return address;
}

sockaddr const * generalOf( sockaddr_un const & address ) {
   void const * const general = &address;
   return static_cast<sockaddr const *>( general );
}

U64 identityMade() {
   std::random_device random;
   return U64{ random() } << 32U | random();
}

}   // namespace

PtpDaemon::PtpDaemon(
   PtpOptions const & options, std::string const & ownSocket, PollSet & pollSet, Said said, Tell tell )
   : daemon_( ptpAddressOf( options.socket.value() ) ),
     own_( ptpAddressOf( ownSocket ) ),
     said_( std::move( said ) ),
     tell_( std::move( tell ) ),
     client_{ identityMade(), static_cast<U8>( options.domain ) },
     readable_( ::epoll_create1( EPOLL_CLOEXEC ) ),
     holdover_( options.holdoverSeconds ) {
   if ( !open() )
      throw Input::InputError( fmt::format( "{}: there can be no socket: {}", ownSocket, std::strerror( errno ) ) );
   pollSet.descriptorAdd( readable_.fd(), [this] {
      hear();
      conclude();
   } );
}

PtpDaemon::~PtpDaemon() { rest(); }

bool PtpDaemon::open() {
   ::unlink( own_.sun_path );   // of one that was killed
   socket_.emplace( ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ) );
   epoll_event event{};
   event.events = EPOLLIN;
   if (
      ::bind( socket_->fd(), generalOf( own_ ), sizeof own_ ) == 0 &&
      ::epoll_ctl( readable_.fd(), EPOLL_CTL_ADD, socket_->fd(), &event ) == 0 )
      return true;
   socket_.reset();
   return false;
}

void PtpDaemon::rest() {
   if ( !socket_ ) return;
   socket_.reset();
   ::unlink( own_.sun_path );
   asked_ = false;
}

double PtpDaemon::longestWait() const { return std::max( 0.0, askAt_ - ptpNow() ); }

void PtpDaemon::look() {
   if ( !socket_ && !open() ) unsentIs( fmt::format( "{}: {}", own_.sun_path, std::strerror( errno ) ) );
   if ( longestWait() == 0 ) ask();
   conclude();
}

void PtpDaemon::hear() {
   std::array<U8, 2048> bytes{};
   // Bounded: who sends without end has the loop only once a turn.
   constexpr int messagesMax = 1000;
   for ( int count = 0; socket_ && count < messagesMax; ++count ) {
      ssize_t const size = ::recv( socket_->fd(), bytes.data(), bytes.size(), 0 );
      if ( size < 0 ) return;
      Ptp::Message const message =
         Ptp::messageOf( std::span( bytes ).first( static_cast<std::size_t>( size ) ), client_ );
      if ( misheard_.empty() && !message.trouble.empty() ) tell_( "the PTP daemon: " + message.trouble );
      if ( misheard_.empty() ) misheard_ = message.trouble;
      if ( message.port ) ports_[message.port->number] = { message.port->state, period_ };
   }
}

void PtpDaemon::ask() {
   askAt_ = ptpNow() + periodSeconds;
   if ( asked_ ) ++period_;
   asked_ = true;
   auto const silent = [this]( auto const & port ) { return period_ - port.second.period > unansweredMax; };
   if ( std::erase_if( ports_, silent ) > 0 && ports_.empty() ) misheard_.clear();
   if ( period_ % periodsBetweenSubscriptions == 0 && !send( Ptp::changesAsked( client_, ++sequence_, toldSeconds ) ) )
      return;
   send( Ptp::portsAsked( client_, ++sequence_ ) );
}

bool PtpDaemon::send( std::vector<U8> const & message ) {
   if ( !socket_ ) return false;
   ssize_t const sent =
      ::sendto( socket_->fd(), message.data(), message.size(), MSG_NOSIGNAL, generalOf( daemon_ ), sizeof daemon_ );
   unsentIs( sent < 0 ? fmt::format( "{}: {}", daemon_.sun_path, std::strerror( errno ) ) : "" );
   return sent >= 0;
}

// Told once, until it is another trouble.
void PtpDaemon::unsentIs( std::string const & why ) {
   if ( why != unsent_ && !why.empty() ) tell_( "the PTP daemon cannot be asked: " + why );
   unsent_ = why;
}

void PtpDaemon::wasLocked() { holdover_.lockedAt( ptpNow() ); }

// Last in whatever calls it: what it says may set machines to work, and a bring-up rests.
void PtpDaemon::conclude() {
   if ( ports_.empty() && period_ < unansweredMax ) return;   // it has time left to answer
   std::vector<Ptp::Port> ports;
   for ( auto const & [number, heard] : ports_ ) ports.push_back( { number, heard.state } );
   std::optional<Ptp::Port> const best = bestOf( ports );
   PtpTimeSync::OperationalState const state =
      holdover_.stateOf( best ? timeSyncOf( best->state ) : PtpTimeSync::disabled_, ptpNow() );
   std::string const line = fmt::format(
      "the PTP daemon {}: time sync {}",
      best ? fmt::format( "has port {} {}", best->number, Ptp::textOf( best->state ) )
           : fmt::format( "does not answer in domain {}", client_.domain ),
      stringValue( state ).stdString() );
   if ( line != line_ ) tell_( line );
   line_ = line;
   if ( state == state_ ) return;
   state_ = state;
   said_( state );
}

}   // namespace Host
