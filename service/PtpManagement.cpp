#include "service/PtpManagement.h"

#include <fmt/format.h>

namespace Host::Ptp {

namespace {

// Places in a message, in bytes: the header, what management messages have behind it, and the one element they carry.
constexpr std::size_t typeAt = 0;
constexpr std::size_t versionAt = 1;
constexpr std::size_t lengthAt = 2;
constexpr std::size_t domainAt = 4;
constexpr std::size_t targetAt = 34;
constexpr std::size_t actionAt = 46;
constexpr std::size_t elementAt = 48;
constexpr std::size_t elementLengthAt = 50;
constexpr std::size_t idAt = 52;
constexpr std::size_t dataAt = 54;
// And in the data of a port.
constexpr std::size_t portNumberAt = 8;
constexpr std::size_t portStateAt = 10;
constexpr std::size_t portDataSize = 26;
constexpr std::size_t eventMaskSize = 64;

constexpr U8 managementMessage = 0xd;
constexpr U8 version = 2;
constexpr U8 controlManagement = 4;
constexpr U8 noInterval = 0x7f;
constexpr U8 lowNibble = 0xf;
constexpr U64 anybody = ~U64{ 0 };

enum Action : U8 { get_ = 0, set_ = 1, response_ = 2 };
enum Element : U16 { management_ = 1, error_ = 2 };
enum Id : U16 { portDataSet_ = 0x2004, subscribeEvents_ = 0xc003 };
constexpr U8 portStateEvent = 1;   // the first bit of the mask

// What there is one of in this process; ports of daemons are numbered from 1 as well.
constexpr U16 clientPort = 1;

class Writer {
 public:
   Writer & add( U64 value, std::size_t size ) {
      while ( size-- > 0 ) bytes_.push_back( static_cast<U8>( value >> ( 8 * size ) ) );
      return *this;
   }
   std::vector<U8> const & bytes() const { return bytes_; }

 private:
   std::vector<U8> bytes_;
};

U64 numberAt( std::span<U8 const> bytes, std::size_t at, std::size_t size ) {
   U64 value = 0;
   for ( U8 const byte : bytes.subspan( at, size ) ) value = value << 8 | byte;
   return value;
}

std::vector<U8>
request( Client const & client, U16 sequence, Action action, Id id, std::vector<U8> const & data = {} ) {
   Writer message;
   message.add( managementMessage, 1 ).add( version, 1 ).add( dataAt + data.size(), 2 ).add( client.domain, 1 );
   message.add( 0, 3 ).add( 0, 8 ).add( 0, 4 );   // flags, correction
   message.add( client.identity, 8 ).add( clientPort, 2 ).add( sequence, 2 );
   message.add( controlManagement, 1 ).add( noInterval, 1 );
   message.add( anybody, 8 ).add( anybody, 2 ).add( 0, 2 ).add( action, 1 ).add( 0, 1 );   // 0 hops: to this daemon
   message.add( management_, 2 ).add( 2 + data.size(), 2 ).add( id, 2 );
   for ( U8 const byte : data ) message.add( byte, 1 );
   return message.bytes();
}

Message trouble( std::string text ) { return { .port = {}, .trouble = std::move( text ) }; }

Message portOf( std::span<U8 const> data ) {
   if ( data.size() != portDataSize )
      return trouble( fmt::format( "expected {} bytes of a port, found {}", portDataSize, data.size() ) );
   U64 const number = numberAt( data, portNumberAt, 2 );
   U8 const state = data[portStateAt];
   if ( state < U8( PortState::initializing_ ) || state > U8( PortState::slave_ ) )
      return trouble( fmt::format( "port {} is in state {}; expected 1 to 9", number, state ) );
   return { .port = Port{ static_cast<U16>( number ), static_cast<PortState>( state ) }, .trouble = {} };
}

}   // namespace

std::string_view textOf( PortState state ) {
   constexpr std::string_view texts[] = { "initializing", "faulty",  "disabled",     "listening", "premaster",
                                          "master",       "passive", "uncalibrated", "slave" };
   return texts[U8( state ) - U8( PortState::initializing_ )];
}

std::vector<U8> portsAsked( Client const & client, U16 sequence ) {
   return request( client, sequence, get_, portDataSet_ );
}

std::vector<U8> changesAsked( Client const & client, U16 sequence, U16 seconds ) {
   Writer data;
   data.add( seconds, 2 ).add( portStateEvent, 1 );
   for ( std::size_t at = 1; at < eventMaskSize; ++at ) data.add( 0, 1 );
   return request( client, sequence, set_, subscribeEvents_, data.bytes() );
}

Message messageOf( std::span<U8 const> bytes, Client const & client ) {
   if ( bytes.size() < dataAt ) return trouble( fmt::format( "a message of {} bytes is cut off", bytes.size() ) );
   if ( ( bytes[typeAt] & lowNibble ) != managementMessage || ( bytes[versionAt] & lowNibble ) != version )
      return trouble( "expected a management message of PTP version 2" );
   U64 const length = numberAt( bytes, lengthAt, 2 );
   U64 const elementLength = numberAt( bytes, elementLengthAt, 2 );
   if ( length > bytes.size() || elementLength < 2 || idAt + elementLength > length )
      return trouble( fmt::format(
         "a message of {} bytes says that it has {}, with an element of {}", bytes.size(), length, elementLength ) );
   bool const ours =
      numberAt( bytes, targetAt, 8 ) == client.identity && numberAt( bytes, targetAt + 8, 2 ) == clientPort;
   if ( !ours || bytes[domainAt] != client.domain || ( bytes[actionAt] & lowNibble ) != response_ )
      return trouble( "expected an answer to this agent, found a message for somebody else" );
   std::span<U8 const> const data = bytes.subspan( dataAt, elementLength - 2 );
   U64 const element = numberAt( bytes, elementAt, 2 );
   U64 const id = numberAt( bytes, idAt, 2 );
   if ( element == error_ ) {
      // The error stands where others have their id, and what was asked for behind it.
      bool const ofChanges = data.size() >= 2 && numberAt( data, 0, 2 ) == subscribeEvents_;
      return trouble( fmt::format(
         "it does not tell {} (error 0x{:04x})", ofChanges ? "changes at once" : "the states of its ports", id ) );
   }
   if ( element == management_ && id == portDataSet_ ) return portOf( data );
   if ( element == management_ && id == subscribeEvents_ ) return {};
   return trouble( fmt::format( "expected the state of a port, found element {} with id 0x{:04x}", element, id ) );
}

}   // namespace Host::Ptp
