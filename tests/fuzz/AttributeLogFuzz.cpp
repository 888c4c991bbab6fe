// What a mirror makes of anything: bytes that are no batch, and entries of any kind, of names that are there or not,
// with any values. Nothing but LogFormatException may come; an entry that is refused changes nothing; and what stands
// in the mirror afterwards is a state that another mirror takes over as it is.
//
//    attribute_log_fuzz -runs=1000000
#include "framework/LogWriter.h"
#include "framework/Mirror.h"
#include "framework/TypeRegistry.h"
#include "tests/framework/Lamp.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

namespace {

using Vor::LogBatch;
using Vor::LogEntry;
using Vor::Mirror;
using Vor::Ptr;

Vor::Module const module( "Lamps", []( Vor::Module & types ) {
   types.typesAdd<Test::Lamp, Test::LampDir, Test::DimmedLamp>();
} );

void require( bool met, char const * what ) {
   if ( met ) return;
   std::fprintf( stderr, "%s\n", what );
   std::abort();
}

/// Whatever the order.
std::vector<std::string> stateOf( LogBatch const & whole ) {
   std::vector<std::string> entries;
   for ( LogEntry const & entry : whole ) {
      LogBatch one;
      one.entryAdd( entry );
      entries.emplace_back( one.bytes() );
   }
   std::sort( entries.begin(), entries.end() );
   return entries;
}

/// But for those whose parents are not there: they have other full names than in the log, perhaps that of another.
LogBatch wholeOf( Mirror const & mirror ) {
   Vor::LogWriter writer;
   for ( Ptr<Vor::Entity> const & entity : mirror.entities() )
      if ( mirror.entity( entity->fullName() ) == entity ) writer.entityAdd( entity );
   LogBatch whole;
   writer.whole( whole );
   return whole;
}

/// One that is likely to mean something, or any.
std::string textOf( FuzzedDataProvider & data, std::initializer_list<char const *> likely ) {
   std::size_t const which = data.ConsumeIntegralInRange<std::size_t>( 0, likely.size() );
   return which < likely.size() ? *( likely.begin() + which ) : data.ConsumeRandomLengthString( 64 );
}

std::string number( U32 value ) {
   std::string bytes;
   for ( unsigned shift = 0; shift < 32; shift += 8 ) bytes.push_back( static_cast<char>( value >> shift ) );
   return bytes;
}

std::string valueOf( FuzzedDataProvider & data ) {
   std::string bytes;
   for ( unsigned n = data.ConsumeIntegralInRange( 0U, 4U ); n > 0; --n ) {
      std::string const text = textOf( data, { "/dir", "/dir/a", "/lamp", "" } );
      if ( data.ConsumeBool() )
         bytes += number( data.ConsumeIntegralInRange( 0U, 9U ) );
      else
         bytes += number( static_cast<U32>( text.size() ) ) + text;
   }
   return bytes + data.ConsumeRandomLengthString( 4 );
}

std::string creationOf( FuzzedDataProvider & data, std::string const & type, std::string const & entity ) {
   Vor::Type const * const known = Vor::typeRegistry().type( type );
   if ( !known || data.ConsumeIntegralInRange( 0, 9 ) == 0 ) return valueOf( data );
   std::string const name = entity.substr( entity.rfind( '/' ) + 1 );
   std::string bytes = number( known->operations().parametersShape ) +
                       number( data.ConsumeBool() ? known->operations().shape : 7 ) +
                       number( static_cast<U32>( name.size() ) ) + name;
   if ( type == "Test::Lamp" )
      bytes += number( 40 ) + number( data.ConsumeIntegralInRange( 0U, 8U ) ) + number( 4 ) + "/dir";
   return bytes;
}

void apply( FuzzedDataProvider & data, Mirror & mirror ) {
   while ( data.remaining_bytes() > 0 ) {
      std::string const entity = textOf( data, { "/dir", "/dir/a", "/dir/b", "/lamp", "/plain", "/plain/dir" } );
      std::string const type = textOf( data, { "Test::Lamp", "Test::LampDir", "Vor::Entity", "Test::DimmedLamp" } );
      std::string const attribute = textOf( data, { "", "lamp", "brightness", "lit", "notes", "watts" } );
      auto const kind = static_cast<LogEntry::Kind>( data.ConsumeIntegralInRange( 1, 4 ) );
      bool const creates = kind == LogEntry::Kind::create;
      std::string const key = data.ConsumeBool() ? number( 3 ) : data.ConsumeRandomLengthString( 6 );
      std::string const value = creates ? creationOf( data, type, entity ) : valueOf( data );
      LogBatch batch;
      if ( entity.empty() ) continue;
      batch.entryAdd(
         { .kind = kind, .entity = entity, .type = type, .attribute = attribute, .key = key, .value = value } );
      LogBatch read;
      read.bytesIs( batch.bytes() );
      auto const before = stateOf( wholeOf( mirror ) );
      try {
         mirror.turn( read );
      } catch ( Vor::LogFormatException const & ) {
         require( stateOf( wholeOf( mirror ) ) == before, "an entry that was refused has changed the mirror" );
      }
   }
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput( std::uint8_t const * bytes, std::size_t size ) {
   FuzzedDataProvider data( bytes, size );
   Mirror mirror( nullptr );
   if ( data.ConsumeIntegralInRange( 0, 9 ) == 0 ) {
      std::string const anything = data.ConsumeRemainingBytesAsString();
      try {
         LogBatch batch;
         batch.bytesIs( anything );
         mirror.snapshotIs( batch );
      } catch ( Vor::LogFormatException const & ) {   // mostly
      }
   } else
      apply( data, mirror );
   LogBatch const whole = wholeOf( mirror );
   Mirror other( nullptr );
   other.snapshotIs( whole );
   other.snapshotIs( whole );
   require( stateOf( wholeOf( other ) ) == stateOf( whole ), "another mirror has another state" );
   // A lamp may refer to the directory that holds it: nobody would ever let go of them.
   for ( Mirror const * const each : { &mirror, &other } )
      for ( Ptr<Vor::Entity> const & entity : each->entities() )
         if ( auto const dir = Vor::ptrCast<Test::LampDir>( entity ) ) dir->memberDelAll();
   return 0;
}
