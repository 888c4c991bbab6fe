#include "card/SocketHam.h"

#include "framework/Assert.h"

#include <sys/epoll.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

namespace Host {

namespace {

// Far longer than an access takes on the busiest machine.
constexpr timeval answerTime{ .tv_sec = 5, .tv_usec = 0 };

// Nothing comes that was not asked for: what can be read between accesses is the end.
bool isOver( int fd ) {
   char byte = 0;
   return ::recv( fd, &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT ) >= 0 || errno != EAGAIN;
}

// Repeats the call when a signal interrupts it; whether the whole message went.
bool whole( std::size_t size, auto const & call ) {
   ssize_t length = 0;
   do length = call();
   while ( length < 0 && errno == EINTR );
   return length == static_cast<ssize_t>( size );
}

}   // namespace

SocketHam::SocketHam( Vor::Name name, std::string path )
   : PolledHam( std::move( name ) ), path_( std::move( path ) ), lost_( ::epoll_create1( EPOLL_CLOEXEC ) ) {
   kindIs( "simulated" );
   filenameIs( path_ );
}

void SocketHam::poll() {
   if ( socket_ && !isOver( socket_->fd() ) ) return;
   // A process that was started in place of another has another card: its watchers see the old one go first.
   socket_.reset();
   hardwarePresentIs( false );
   if ( connect() ) hardwarePresentIs( true );
}

bool SocketHam::connect() {
   HardwareSocket const & made = socket_.emplace();
   ::setsockopt( made.fd(), SOL_SOCKET, SO_RCVTIMEO, &answerTime, sizeof answerTime );
   ::setsockopt( made.fd(), SOL_SOCKET, SO_SNDTIMEO, &answerTime, sizeof answerTime );
   if ( withPath( ::connect, made.fd(), path_ ) != 0 ) {
      trouble_ = path_ + ": " + std::strerror( errno ) + "; clockpath hardware starts the hardware";
      socket_.reset();
      return false;
   }
   epoll_event event{ .events = EPOLLIN | EPOLLRDHUP, .data = {} };
   ::epoll_ctl( lost_.fd(), EPOLL_CTL_ADD, made.fd(), &event );
   trouble_.clear();
   return true;
}

U32 SocketHam::answerTo( HardwareRequest const & request ) {
   VOR_ASSERT( request.address % sizeof( U32 ) == 0 );
   if ( !socket_ ) return goneValue;
   HardwareAnswer answer = 0;
   if (
      whole( sizeof request, [&] { return ::send( socket_->fd(), &request, sizeof request, MSG_NOSIGNAL ); } ) &&
      whole( sizeof answer, [&] { return ::recv( socket_->fd(), &answer, sizeof answer, 0 ); } ) )
      return answer;
   // Its watchers are told by poll(), not in the middle of an access; a late answer is not taken for that of the next.
   ::shutdown( socket_->fd(), SHUT_RDWR );
   return goneValue;
}

void SocketHam::read32( U32 address, U32 & value ) { value = answerTo( { HardwareRequest::Kind::read32, address } ); }

void SocketHam::write32( U32 address, U32 value ) { answerTo( { HardwareRequest::Kind::write32, address, value } ); }

}   // namespace Host
