// Random changes of published entities against mirrors: one that gets every turn, one that reads a log which keeps few
// turns and stops reading now and then, one that only ever gets snapshots. What each of them would write as a whole is
// what the writer would.
#include "framework/LogWriter.h"
#include "framework/MemoryLog.h"
#include "framework/Mirror.h"
#include "framework/TypeRegistry.h"
#include "tests/framework/Lamp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace Test {
namespace {

using Vor::LogBatch;
using Vor::LogEntry;
using Vor::LogPosition;
using Vor::LogSource;
using Vor::Mirror;
using Vor::Ptr;

std::string text( LogEntry const & entry ) {
   std::string whole = std::to_string( static_cast<int>( entry.kind ) );
   for ( std::string_view const part : { entry.entity, entry.type, entry.attribute, entry.key, entry.value } )
      whole.append( "|" ).append( part );
   return whole;
}

/// The state that a batch tells of, whatever its order.
std::vector<std::string> stateOf( LogBatch const & whole ) {
   std::vector<std::string> entries;
   for ( LogEntry const & entry : whole ) entries.push_back( text( entry ) );
   std::sort( entries.begin(), entries.end() );
   return entries;
}

std::vector<std::string> stateOf( Mirror const & mirror ) {
   Vor::LogWriter writer;
   for ( Ptr<Vor::Entity> const & entity : mirror.entities() )
      if ( !Vor::ptrCast<Lamp>( entity ) ) writer.entityAdd( entity );   // directories see to their members
   LogBatch whole;
   writer.whole( whole );
   return stateOf( whole );
}

class MirrorModelTest : public testing::Test {
 protected:
   U32 anyOf( U32 count ) { return random() % count; }
   std::string anyName() { return "lamp" + std::to_string( anyOf( 6 ) ); }
   Ptr<LampDir> anyDir() { return dirs[anyOf( 2 )]; }

   void change() {
      Ptr<LampDir> const dir = anyDir();
      std::string const name = anyName();
      Ptr<Lamp> const lamp = dir->member( name );
      if ( !lamp || anyOf( 20 ) == 0 ) {
         dir->memberDel( name );
         // Among its parameters an entity that may come now, and stays: a name that is used again means the new one.
         Ptr<Vor::Entity const> const socket = sockets->lampIs( anyName(), 0, white_, nullptr );
         dir->lampIs( name, anyOf( 3 ), anyOf( 2 ) == 0 ? red_ : deepBlue_, socket );
         return;
      }
      switch ( anyOf( 6 ) ) {
      case 0:
         lamp->brightnessIs( anyOf( 4 ) );
         break;
      case 1:
         lamp->litIs( anyOf( 2 ) == 0 );
         break;
      case 2:
         lamp->notesIs( anyOf( 5 ), Vor::String( std::string( anyOf( 40 ), 'x' ) ) );
         break;
      case 3:
         lamp->notesDel( anyOf( 5 ) );
         break;
      case 4:
         dir->memberDel( name );
         break;
      default:
         dir->memberNotify( name );
         break;
      }
   }

   void turn() {
      bool const whole = number == 0 || anyOf( 50 ) == 0;
      LogBatch batch;
      if ( whole )
         writer.whole( batch );
      else
         batch = writer.turn();
      writer.turnDone();
      log.append( { { 1, ++number }, whole, batch } );
      if ( whole )
         follows.snapshotIs( batch );
      else
         follows.turn( batch );
   }

   void read() {
      LogBatch batch;
      for ( ;; ) switch ( source->next( at, batch, at ) ) {
         case LogSource::Got::turn:
            reads.turn( batch );
            break;
         case LogSource::Got::gap:
            ++gaps;
            at = source->snapshot( batch );
            reads.snapshotIs( batch );
            break;
         case LogSource::Got::nothing:
            return;
         }
   }

   unsigned const seed = std::random_device()();
   std::mt19937 random{ seed };
   Vor::Module const module{ "Lamps", []( Vor::Module & types ) { types.typesAdd<Lamp, LampDir>(); } };
   Ptr<LampDir> const dirs[2] = { lampDirFactory( "first" ), lampDirFactory( "second" ) };
   Ptr<LampDir> const sockets = lampDirFactory( "sockets" );
   Vor::LogWriter writer;
   Vor::MemoryLog log{ 4 };
   std::unique_ptr<LogSource> const source = log.source();
   LogPosition at;
   U64 number = 0;
   int gaps = 0;
   Mirror::Tell const refuse = []( Vor::String const & said ) { ADD_FAILURE() << said; };
   Mirror follows{ refuse };
   Mirror reads{ refuse };
   Mirror leaps{ refuse };
};

TEST_F( MirrorModelTest, RandomChangesAreMirrored ) {
   SCOPED_TRACE( testing::Message() << "seed " << seed );
   writer.entityAdd( sockets );
   for ( Ptr<LampDir> const & dir : dirs ) writer.entityAdd( dir );
   for ( int round = 0; round < 600 && !HasFailure(); ++round ) {
      for ( U32 n = anyOf( 8 ); n > 0; --n ) change();
      turn();
      LogBatch whole;
      writer.whole( whole );
      auto const expected = stateOf( whole );
      ASSERT_EQ( stateOf( follows ), expected );
      if ( anyOf( 10 ) == 0 ) {
         leaps.snapshotIs( whole );
         ASSERT_EQ( stateOf( leaps ), expected );
      }
      if ( anyOf( 5 ) != 0 ) continue;
      read();
      ASSERT_EQ( stateOf( reads ), expected );
   }
   EXPECT_GT( gaps, 1 );
   EXPECT_EQ( log.end(), ( LogPosition{ 1, number } ) );   // the mirrors wrote nothing
}

}   // namespace
}   // namespace Test
