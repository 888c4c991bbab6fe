#include "service/ControlSocket.h"

#include "card/CardLock.h"
#include "card/Descriptor.h"
#include "framework/Types.h"
#include "input/InputError.h"
#include "service/UsualPlaces.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace Host {

namespace fs = std::filesystem;

namespace {

// The address of a socket, in as few bytes as it may have however long the way to its folder is.
struct SocketAddress {
   explicit SocketAddress( fs::path const & path )
      : folder( ::open( fs::absolute( path ).parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC ) ) {
      std::string const text = fmt::format( "/proc/self/fd/{}/{}", folder.fd(), path.filename().string() );
      address.sun_family = AF_UNIX;
      fits = text.size() < sizeof address.sun_path;
      if ( fits ) std::memcpy( address.sun_path, text.c_str(), text.size() + 1 );
   }
   sockaddr const * pointer() const { return static_cast<sockaddr const *>( static_cast<void const *>( &address ) ); }

   Descriptor const folder;
   sockaddr_un address{};
   bool fits = false;
};

int newSocket( int flags ) { return ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0 ); }

bool connects( Descriptor const & socket, std::string const & path ) {
   SocketAddress const address( path );
   return address.fits && ::connect( socket.fd(), address.pointer(), sizeof address.address ) == 0;
}

int boundSocket( std::string const & path ) {
   ownFolderMake( fs::absolute( path ).parent_path() );
   auto const fail = [&]( std::string const & why ) { throw Input::InputError( path + ": " + why ); };
   SocketAddress const address( path );
   if ( !address.fits ) fail( "the name of the socket is too long" );
   if ( agentListens( path ) ) fail( "another agent listens there; expected a path of this agent's own" );
   std::error_code error;
   if ( fs::is_socket( fs::symlink_status( path, error ) ) ) ::unlink( path.c_str() );   // of one that was killed
   int const fd = newSocket( SOCK_NONBLOCK );
   if (
      fd < 0 || ::bind( fd, address.pointer(), sizeof address.address ) != 0 || ::chmod( path.c_str(), 0600 ) != 0 ||
      ::listen( fd, static_cast<int>( ControlSocket::clientsMax ) ) != 0 ) {
      int const reason = errno;
      ::close( fd );
      fail( fmt::format( "there can be no socket: {}", std::strerror( reason ) ) );
   }
   return fd;
}

// The user at the other end, nobody where that cannot be told.
bool isOwnPeer( int fd ) {
   ucred peer{};
   socklen_t length = sizeof peer;
   return ::getsockopt( fd, SOL_SOCKET, SO_PEERCRED, &peer, &length ) == 0 &&
          ( peer.uid == ::geteuid() || peer.uid == 0 );
}

std::string lineOf( char const * key, Input::Json const & value ) {
   return Input::Json{ { key, value } }.dump( -1, ' ', false, Input::Json::error_handler_t::replace ) + "\n";
}

void wake( Descriptor const & event ) {
   U64 const one = 1;
   static_cast<void>( ::write( event.fd(), &one, sizeof one ) > 0 );
}

void wakeTaken( Descriptor const & event ) {
   U64 count = 0;
   static_cast<void>( ::read( event.fd(), &count, sizeof count ) > 0 );
}

int newEvent() {
   int const fd = ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK );
   if ( fd < 0 ) throw std::system_error( errno, std::generic_category(), "eventfd" );
   return fd;
}

}   // namespace

struct ControlSocket::Shared {
   Shared( std::string const & where, Answer how )
      : path( where ), answer( std::move( how ) ), socket( boundSocket( where ) ) {
      // Signals are the loop's.
      sigset_t all;
      sigset_t before;
      ::sigfillset( &all );
      ::pthread_sigmask( SIG_SETMASK, &all, &before );
      thread = std::thread( [this] { serve(); } );
      ::pthread_sigmask( SIG_SETMASK, &before, nullptr );
   }
   ~Shared() {
      {
         std::lock_guard const lock( mutex );
         ended = true;
      }
      wake( toThread );
      thread.join();
      ::unlink( path.c_str() );
   }

   struct Client {
      explicit Client( int fd ) : socket( fd ) {}
      Descriptor const socket;
      std::string in;
      std::string out;
      bool asked = false;     // and waits for the answer
      bool closing = false;   // as soon as all is written
   };
   struct Message {
      U64 client;
      Input::Json content;
   };

   // The loop's part.

   void answerAll() {
      wakeTaken( toLoop );
      while ( std::optional<Message> const request = next() ) {
         std::string line;
         try {
            line = lineOf( "answer", answer( request->content ) );
         } catch ( std::exception const & error ) {
            line = lineOf( "refused", error.what() );
         }
         {
            std::lock_guard const lock( mutex );
            answers.emplace_back( request->client, std::move( line ) );
         }
         wake( toThread );
      }
   }

   std::optional<Message> next() {
      std::lock_guard const lock( mutex );
      if ( requests.empty() ) return std::nullopt;
      Message message = std::move( requests.front() );
      requests.pop_front();
      return message;
   }

   // The thread's part.

   void serve() {
      for ( ;; ) {
         std::vector<pollfd> look{ { toThread.fd(), POLLIN, 0 }, { socket.fd(), POLLIN, 0 } };
         std::vector<U64> asked;
         for ( auto const & [id, client] : clients ) {
            bool const reads = !client.asked && !client.closing;
            int const events = ( reads ? POLLIN : 0 ) | ( client.out.empty() ? 0 : POLLOUT );
            look.push_back( { client.socket.fd(), static_cast<short>( events ), 0 } );
            asked.push_back( id );
         }
         ::poll( look.data(), look.size(), -1 );
         if ( look[0].revents != 0 && !loopHasTold() ) break;
         if ( look[1].revents != 0 ) accept();
         for ( std::size_t at = 0; at < asked.size(); ++at ) serveOne( asked[at], look[at + 2].revents );
      }
      // What ended the loop may have been a request.
      for ( auto & [id, client] : clients ) write( client );
   }

   void serveOne( U64 id, short events ) {
      auto const found = clients.find( id );
      if ( found == clients.end() ) return;
      Client & client = found->second;
      bool const gone = ( events & ( POLLHUP | POLLERR ) ) != 0 && ( events & POLLIN ) == 0;
      if ( ( events & POLLIN ) != 0 ) read( client );
      if ( !gone ) takeRequest( id, client );
      if ( gone || !write( client ) || client.out.size() > unreadMax ) drop( id );
   }

   // Whether it goes on.
   bool loopHasTold() {
      wakeTaken( toThread );
      std::lock_guard const lock( mutex );
      for ( auto & [id, line] : answers )
         if ( auto const found = clients.find( id ); found != clients.end() ) {
            found->second.out += line;
            found->second.asked = false;
         }
      answers.clear();
      if ( busy != told )
         for ( auto & [id, client] : clients )
            if ( client.asked && !busy.empty() ) client.out += lineOf( "waiting", busy );
      told = busy;
      return !ended;
   }

   void accept() {
      int const fd = ::accept4( socket.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK );
      if ( fd < 0 ) return;
      // One who asks nothing makes room.
      auto const idle = std::ranges::find_if( clients, []( auto const & one ) { return !one.second.asked; } );
      if ( clients.size() == clientsMax && idle != clients.end() ) drop( idle->first );
      if ( clients.size() == clientsMax ) {
         ::close( fd );
         return;
      }
      Client & client = clients.try_emplace( ++lastClient, fd ).first->second;
      if ( isOwnPeer( fd ) ) return;
      client.out = lineOf( "refused", "expected the user that runs the agent" );
      client.closing = true;
   }

   void read( Client & client ) {
      std::array<char, 65536> bytes{};
      ssize_t const count = ::recv( client.socket.fd(), bytes.data(), bytes.size(), 0 );
      if ( count > 0 )
         client.in.append( bytes.data(), static_cast<std::size_t>( count ) );
      else if ( count == 0 || ( errno != EAGAIN && errno != EINTR ) )
         client.closing = true;
   }

   void takeRequest( U64 id, Client & client ) {
      std::size_t end = 0;
      while ( !client.asked && ( end = client.in.find( '\n' ) ) != std::string::npos && end <= lineMax ) {
         std::string const line = client.in.substr( 0, end );
         client.in.erase( 0, end + 1 );
         Input::Json request = Input::Json::parse( line, nullptr, false );
         if ( !request.is_object() ) {
            client.out += lineOf( "refused", "expected a JSON object on one line" );
            continue;
         }
         client.asked = true;
         {
            std::lock_guard const lock( mutex );
            requests.push_back( { id, std::move( request ) } );
            if ( !busy.empty() ) client.out += lineOf( "waiting", busy );
         }
         wake( toLoop );
      }
      if ( !client.asked && client.in.size() > lineMax ) {
         client.in.clear();
         client.out += lineOf( "refused", fmt::format( "expected a request of at most {} bytes", lineMax ) );
         client.closing = true;
      }
   }

   // Whether there is more to do for him.
   static bool write( Client & client ) {
      if ( !client.out.empty() ) {
         ssize_t const count = ::send( client.socket.fd(), client.out.data(), client.out.size(), MSG_NOSIGNAL );
         if ( count < 0 && errno != EAGAIN && errno != EINTR ) return false;
         if ( count > 0 ) client.out.erase( 0, static_cast<std::size_t>( count ) );
      }
      return !client.closing || client.asked || !client.out.empty();
   }

   // What he asked for, and nobody has begun, is not done any more.
   void drop( U64 id ) {
      clients.erase( id );
      std::lock_guard const lock( mutex );
      std::erase_if( requests, [&]( Message const & request ) { return request.client == id; } );
   }

   std::string const path;
   Answer const answer;
   Descriptor const socket;
   Descriptor const toLoop{ newEvent() };
   Descriptor const toThread{ newEvent() };

   std::map<U64, Client> clients;   // of the thread alone, with the next two
   U64 lastClient = 0;
   std::string told;   // of what the loop is busy with

   std::mutex mutex;   // of what follows
   std::deque<Message> requests;
   std::vector<std::pair<U64, std::string>> answers;
   std::string busy;
   bool ended = false;

   std::thread thread;
};

ControlSocket::ControlSocket( std::string const & path, PollSet & pollSet, Answer answer )
   : shared_( std::make_unique<Shared>( path, std::move( answer ) ) ) {
   pollSet.descriptorAdd( shared_->toLoop.fd(), [shared = shared_.get()] { shared->answerAll(); } );
}

ControlSocket::~ControlSocket() = default;

std::string const & ControlSocket::path() const { return shared_->path; }

void ControlSocket::busyWith( std::string const & what ) {
   {
      std::lock_guard const lock( shared_->mutex );
      if ( shared_->busy == what ) return;
      shared_->busy = what;
   }
   wake( shared_->toThread );
}

bool agentListens( std::string const & socket ) {
   Descriptor const client( newSocket( 0 ) );
   return connects( client, socket );
}

namespace {

// All of it.
bool sent( Descriptor const & socket, std::string const & text ) {
   for ( std::size_t done = 0; done < text.size(); ) {
      ssize_t const count = ::send( socket.fd(), text.data() + done, text.size() - done, MSG_NOSIGNAL );
      if ( count < 0 && errno != EINTR ) return false;
      done += static_cast<std::size_t>( std::max<ssize_t>( count, 0 ) );
   }
   return true;
}

// Waits for more, and appends it.
bool receives( Descriptor const & socket, std::string & received ) {
   std::array<char, 65536> bytes{};
   for ( ;; ) {
      ssize_t const count = ::recv( socket.fd(), bytes.data(), bytes.size(), 0 );
      if ( count < 0 && errno == EINTR ) continue;
      if ( count > 0 ) received.append( bytes.data(), static_cast<std::size_t>( count ) );
      return count > 0;
   }
}

// The first whole line of what was received, which is taken out of it.
std::optional<std::string> lineTaken( std::string & received ) {
   std::size_t const end = received.find( '\n' );
   if ( end == std::string::npos ) return std::nullopt;
   std::string line = received.substr( 0, end );
   received.erase( 0, end + 1 );
   return line;
}

}   // namespace

Input::Json askAgent(
   std::string const & socket, Input::Json const & request,
   std::function<void( std::string const & )> const & waiting ) {
   constexpr int silenceMs = 2000;
   Descriptor const agent( newSocket( 0 ) );
   auto const unavailable = [&]( std::string const & why ) -> CardUnavailable {
      return CardUnavailable( fmt::format( "no agent answers at {}: {}", socket, why ) );
   };
   if ( !connects( agent, socket ) || !sent( agent, request.dump() + "\n" ) )
      throw unavailable( std::strerror( errno ) );
   std::string received;
   for ( bool silent = true;; ) {
      pollfd look{ agent.fd(), POLLIN, 0 };
      if ( silent && ::poll( &look, 1, silenceMs ) == 0 ) {
         waiting( "its next turn" );
         silent = false;
      }
      if ( !receives( agent, received ) ) throw unavailable( "it ended before it answered" );
      while ( std::optional<std::string> const line = lineTaken( received ) ) {
         Input::Json const told = Input::Json::parse( *line, nullptr, false );
         if ( told.is_discarded() || !told.is_object() ) throw unavailable( "what it says is no JSON" );
         if ( told.contains( "answer" ) ) return told["answer"];
         if ( told.contains( "refused" ) ) throw Input::InputError( told["refused"].get<std::string>() );
         if ( told.contains( "waiting" ) ) {
            waiting( told["waiting"].get<std::string>() );
            silent = false;
         }
      }
   }
}

}   // namespace Host
