#include "service/ServiceManager.h"

#include "input/Number.h"

#include <fmt/format.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <utility>

namespace Host {

namespace {

// How much longer the manager waits for the start, from each sign of life on.
constexpr std::chrono::seconds startExtension( 60 );
constexpr std::chrono::seconds startToldEvery( 5 );

std::string taken( char const * variable ) {
   char const * const value = std::getenv( variable );
   std::string text = value ? value : "";
   ::unsetenv( variable );
   return text;
}

// Of a path, or of an abstract address: '@' stands for the zero that it begins with.
std::string addressTaken() {
   std::string address = taken( "NOTIFY_SOCKET" );
   if ( address.starts_with( '@' ) ) address[0] = '\0';
   bool const one = address.starts_with( '/' ) || address.starts_with( '\0' );
   return one && address.size() < sizeof sockaddr_un{}.sun_path ? address : "";
}

std::optional<std::chrono::microseconds> watchdogTaken() {
   auto const us = Input::numberOf<U64>( taken( "WATCHDOG_USEC" ) );
   std::string const process = taken( "WATCHDOG_PID" );
   bool const asked = process.empty() || process == std::to_string( ::getpid() );
   constexpr U64 longestUs = std::numeric_limits<U32>::max() * U64{ 1'000'000 };
   if ( !us || *us == 0 || !asked ) return std::nullopt;
   return std::chrono::microseconds( std::min( *us, longestUs ) );
}

}   // namespace

ServiceManager::ServiceManager()
   : address_( addressTaken() ),
     watchdog_( watchdogTaken() ),
     socket_( present() ? ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) : -1 ) {
   // A manager that does not read must not hold up the loop.
   constexpr timeval longest{ 0, 100'000 };
   ::setsockopt( socket_.fd(), SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest );
}

void ServiceManager::ready() {
   starting_ = false;
   tell( "READY=1" );
}

void ServiceManager::reloading() {
   auto const now = std::chrono::duration_cast<std::chrono::microseconds>( Clock::now().time_since_epoch() );
   tell( fmt::format( "RELOADING=1\nMONOTONIC_USEC={}", now.count() ) );
}

void ServiceManager::stopping() {
   if ( !std::exchange( stopping_, true ) ) tell( "STOPPING=1" );
}

void ServiceManager::statusIs( std::string const & status ) {
   if ( std::exchange( status_, status ) != status ) tell( "STATUS=" + status );
}

void ServiceManager::alive() {
   if ( !present() ) return;
   auto const since = Clock::now() - aliveAt_;
   // Somewhat earlier than it must be, so that a wait which ends in time does not wait once more.
   bool const due = watchdog_ && since >= *watchdog_ / 4;
   if ( !due && !( starting_ && since >= startToldEvery ) ) return;
   aliveAt_ += since;
   std::string text;
   if ( watchdog_ ) text = "WATCHDOG=1";
   if ( starting_ )
      text += fmt::format(
         "{}EXTEND_TIMEOUT_USEC={}", text.empty() ? "" : "\n", std::chrono::microseconds( startExtension ).count() );
   tell( text );
}

double ServiceManager::longestWait() const {
   if ( !present() || !watchdog_ ) return std::numeric_limits<double>::infinity();
   std::chrono::duration<double> const left = aliveAt_ + *watchdog_ / 2 - Clock::now();
   return std::max( 0.0, left.count() );
}

void ServiceManager::tell( std::string_view text ) const {
   if ( !present() ) return;
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::ranges::copy( address_, address.sun_path );
   void const * const general = &address;
   // An abstract address has no end of its own but this length.
   auto const length = static_cast<socklen_t>( offsetof( sockaddr_un, sun_path ) + address_.size() );
   ::sendto( socket_.fd(), text.data(), text.size(), MSG_NOSIGNAL, static_cast<sockaddr const *>( general ), length );
}

}   // namespace Host
