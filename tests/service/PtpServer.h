// A PTP daemon's management socket as the test scripts it: it answers what was asked when the test tells it to.
#pragma once

#include "card/Descriptor.h"
#include "framework/Types.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace Host {

class PtpServer {
 public:
   explicit PtpServer( std::string path ) : path_( std::move( path ) ) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::memcpy( address.sun_path, path_.c_str(), path_.size() + 1 );
      EXPECT_EQ( ::bind( socket_.fd(), general( address ), sizeof address ), 0 ) << path_;
   }
   ~PtpServer() { ::unlink( path_.c_str() ); }
   PtpServer( PtpServer const & ) = delete;
   PtpServer & operator=( PtpServer const & ) = delete;

   int fd() const { return socket_.fd(); }

   /// Takes what was asked since, and gives how many messages that were; with `answers` it answers each.
   int take( bool answers = true ) {
      int count = 0;
      for ( std::array<U8, 2048> bytes{};; ++count ) {
         socklen_t length = sizeof client_;
         ssize_t const size =
            ::recvfrom( socket_.fd(), bytes.data(), bytes.size(), MSG_DONTWAIT, generalOf( client_ ), &length );
         if ( size < 0 ) return count;
         asked_.assign( bytes.begin(), bytes.begin() + size );
         bool const subscribes = asked_.at( 52 ) == 0xc0;
         subscribed_ += subscribes ? 1 : 0;
         if ( !answers ) continue;
         if ( !subscribes )
            for ( auto const & [number, state] : ports ) tell( number, state );
         else if ( refusesSubscriptions )
            refuse();
         else
            send( answered( { asked_.begin() + 48, asked_.end() } ) );
      }
   }
   /// Of a port, also unasked.
   void tell( U16 number, U8 state ) {
      std::vector<U8> element{ 0, 1, 0, 28, 0x20, 0x04, 1, 2, 3, 4, 5, 6, 7, 8 };
      element.push_back( static_cast<U8>( number >> 8 ) );
      element.push_back( static_cast<U8>( number ) );
      element.push_back( state );
      element.resize( 6 + 26, 0 );
      send( answered( element ) );
   }
   void refuse() { send( answered( { 0, 2, 0, 8, 0, 6, 0xc0, 0x03, 0, 0, 0, 0 } ) ); }
   /// Whether it got there.
   bool send( std::vector<U8> const & bytes ) {
      return ::sendto( socket_.fd(), bytes.data(), bytes.size(), MSG_DONTWAIT, general( client_ ), sizeof client_ ) > 0;
   }

   int subscribed() const { return subscribed_; }
   U8 domainAsked() const { return asked_.at( 4 ); }

   std::map<U16, U8> ports{ { 1, 4 } };
   bool refusesSubscriptions = false;

 private:
   static sockaddr * generalOf( sockaddr_un & address ) {
      return static_cast<sockaddr *>( static_cast<void *>( &address ) );
   }
   static sockaddr const * general( sockaddr_un const & address ) {
      return static_cast<sockaddr const *>( static_cast<void const *>( &address ) );
   }
   // The last message that was asked, as its answer with this element.
   std::vector<U8> answered( std::vector<U8> const & element ) const {
      std::vector<U8> message( asked_.begin(), asked_.begin() + 48 );
      std::copy_n( asked_.begin() + 20, 10, message.begin() + 34 );
      message.insert( message.end(), element.begin(), element.end() );
      message[3] = static_cast<U8>( message.size() );
      message[46] = 2;
      return message;
   }

   std::string const path_;
   Descriptor const socket_{ ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) };
   sockaddr_un client_{};
   std::vector<U8> asked_ = std::vector<U8>( 54 );
   int subscribed_ = 0;
};

}   // namespace Host
