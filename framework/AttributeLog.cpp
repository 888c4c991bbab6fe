#include "framework/AttributeLog.h"

#include "framework/Strep.h"

#include <algorithm>

namespace Vor {

namespace {

// A batch is a head of three numbers, the format's version, the count of the entries and the bytes that they take, and
// then the entries. An entry is the bytes that it takes, its kind, and its texts, each with its length before it.
constexpr std::size_t headSize = 12;
constexpr std::size_t numberSize = 4;

U32 numberAt( std::string_view bytes, std::size_t at ) {
   auto const byte = [&]( std::size_t i ) { return U32{ static_cast<U8>( bytes[at + i] ) }; };
   return byte( 0 ) | byte( 1 ) << 8U | byte( 2 ) << 16U | byte( 3 ) << 24U;
}

void numberPut( char * to, std::size_t number ) {
   to[0] = static_cast<char>( number );
   to[1] = static_cast<char>( number >> 8U );
   to[2] = static_cast<char>( number >> 16U );
   to[3] = static_cast<char>( number >> 24U );
}

// Which texts an entry of the kind has, in this order; empty for no kind.
using TextsOfEntry = std::span<std::string_view LogEntry::*const>;

TextsOfEntry textsOf( U8 kind ) {
   using E = LogEntry;
   static constexpr std::string_view E::*ofCreate[] = { &E::entity, &E::type, &E::attribute, &E::value };
   static constexpr std::string_view E::*ofChange[] = { &E::entity, &E::attribute, &E::key, &E::value };
   static constexpr std::string_view E::*ofErase[] = { &E::entity, &E::attribute, &E::key };
   static constexpr std::string_view E::*ofRemove[] = { &E::entity };
   switch ( static_cast<E::Kind>( kind ) ) {
   case E::Kind::create:
      return ofCreate;
   case E::Kind::change:
      return ofChange;
   case E::Kind::erase:
      return ofErase;
   case E::Kind::remove:
      return ofRemove;
   }
   return {};
}

[[noreturn]] void throwMalformed( std::size_t at, String const & cause ) {
   throw LogFormatException( format( "byte %zu of the batch: ", at ) + cause );
}

// Checks the entry at the place, and gives the place behind it.
std::size_t checkEntry( std::string_view bytes, std::size_t at ) {
   std::size_t const begin = at;
   auto const need = [&]( std::size_t count, std::size_t end ) {
      if ( count > end - at )
         throwMalformed( at, format( "expected %zu bytes of the entry, found %zu", count, end - at ) );
   };
   need( numberSize + 1, bytes.size() );
   U32 const length = numberAt( bytes, at );
   at += numberSize;
   need( length, bytes.size() );
   std::size_t const end = at + length;
   need( 1, end );
   U8 const kind = static_cast<U8>( bytes[at] );
   TextsOfEntry const texts = textsOf( kind );
   if ( texts.empty() ) throwMalformed( at, format( "expected a kind of entry, 1 to 4, found %u", U32{ kind } ) );
   ++at;
   for ( std::size_t i = 0; i < texts.size(); ++i ) {
      need( numberSize, end );
      U32 const size = numberAt( bytes, at );
      at += numberSize;
      need( size, end );
      if ( i == 0 && size == 0 ) throwMalformed( begin, "expected the name of an entity, found none" );
      at += size;
   }
   if ( at != end ) throwMalformed( at, format( "expected the end of the entry, found %zu bytes more", end - at ) );
   return end;
}

}   // namespace

String positionText( LogPosition position ) {
   return valueToStrep( position.generation ) + "-" + valueToStrep( position.number );
}

void LogBatch::bytesIs( std::string_view bytes ) {
   if ( bytes.size() < headSize )
      throwMalformed( 0, format( "expected a head of %zu bytes, found %zu", headSize, bytes.size() ) );
   U32 const version = numberAt( bytes, 0 );
   if ( version != logFormatVersion )
      throwMalformed(
         0, format( "expected format %u, found %u: another release wrote this log", logFormatVersion, version ) );
   if ( bytes.size() > bytesMax )
      throwMalformed( 0, format( "expected at most %zu bytes, found %zu", bytesMax, bytes.size() ) );
   U32 const count = numberAt( bytes, 4 );
   U32 const length = numberAt( bytes, 8 );
   if ( length != bytes.size() - headSize )
      throwMalformed( 8, format( "expected %u bytes of entries, found %zu", length, bytes.size() - headSize ) );
   std::size_t found = 0;
   for ( std::size_t at = headSize; at != bytes.size(); ++found ) at = checkEntry( bytes, at );
   if ( found != count ) throwMalformed( 4, format( "expected %u entries, found %zu", count, found ) );
   bytes_ = bytes;
   count_ = count;
}

void LogBatch::clear() {
   bytes_.resize( headSize );
   numberPut( bytes_.data(), logFormatVersion );
   count_ = 0;
   headPut();
}

void LogBatch::headPut() {
   numberPut( &bytes_[4], count_ );
   numberPut( &bytes_[8], bytes_.size() - headSize );
}

void LogBatch::entryAdd( LogEntry const & entry ) {
   entryBegin( entry );
   entryEnd();
}

std::string LogBatch::headOf( LogEntry const & entry ) {
   LogBatch batch;
   batch.entryBegin( entry );
   return batch.bytes_.substr( headSize );
}

std::string & LogBatch::entryBegin( LogEntry const & entry ) {
   TextsOfEntry const texts = textsOf( static_cast<U8>( entry.kind ) );
   std::size_t size = numberSize + 1;
   for ( auto const text : texts ) size += numberSize + ( entry.*text ).size();
   entryAt_ = bytes_.size();
   bytes_.resize( entryAt_ + size );
   char * to = &bytes_[entryAt_ + numberSize];
   *to++ = static_cast<char>( entry.kind );
   for ( auto const text : texts ) {
      valueAt_ = static_cast<std::size_t>( to - bytes_.data() ) + numberSize;
      numberPut( to, ( entry.*text ).size() );
      to = std::ranges::copy( entry.*text, to + numberSize ).out;
   }
   return bytes_;
}

std::string & LogBatch::entryBegin( std::string_view head ) {
   entryAt_ = bytes_.size();
   bytes_.append( head );
   valueAt_ = bytes_.size();
   return bytes_;
}

void LogBatch::entryEnd() {
   numberPut( &bytes_[valueAt_ - numberSize], bytes_.size() - valueAt_ );
   numberPut( &bytes_[entryAt_], bytes_.size() - entryAt_ - numberSize );
   ++count_;
   headPut();
}

void LogBatch::batchAdd( LogBatch const & other ) {
   bytes_.append( other.bytes(), headSize );
   count_ += other.count_;
   headPut();
}

LogBatch::Iterator LogBatch::begin() const { return { bytes().substr( headSize ) }; }

void LogBatch::Iterator::read() {
   over_ = rest_.empty();
   if ( over_ ) return;
   std::size_t at = numberSize;
   U8 const kind = static_cast<U8>( rest_[at++] );
   entry_ = LogEntry{ static_cast<LogEntry::Kind>( kind ) };
   for ( auto const text : textsOf( kind ) ) {
      U32 const size = numberAt( rest_, at );
      entry_.*text = rest_.substr( at + numberSize, size );
      at += numberSize + size;
   }
   rest_.remove_prefix( at );
}

}   // namespace Vor
