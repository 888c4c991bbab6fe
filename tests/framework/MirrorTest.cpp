#include "framework/Mirror.h"

#include "framework/LogWriter.h"
#include "framework/MemoryLog.h"
#include "framework/TypeRegistry.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Vor::LogBatch;
using Vor::LogEntry;
using Vor::LogFormatException;
using Vor::LogPosition;
using Vor::LogSource;
using Vor::LogWriter;
using Vor::MemoryLog;
using Vor::Mirror;
using Vor::Ptr;

class MirrorTest : public testing::Test {
 protected:
   /// What was written since the last time reaches the mirror.
   void pass() {
      mirror.turn( writer.turn() );
      writer.turnDone();
   }
   Ptr<Lamp> mirrored( std::string_view name ) { return Vor::ptrCast<Lamp>( mirror.entity( name ) ); }

   Vor::Module const module{ "Lamps", []( Vor::Module & types ) { types.typesAdd<Lamp, LampDir, DimmedLamp>(); } };
   Ptr<Vor::Entity> house = Vor::entityFactory( "house" );
   Ptr<LampDir> dir = [this] {
      Ptr<LampDir> made = lampDirFactory( "lamps" );
      made->parentIs( house.ptr() );
      return made;
   }();
   Story told;
   LogWriter writer;
   Mirror mirror{ [this]( Vor::String const & text ) { told.push_back( text.stdString() ); } };
};

TEST_F( MirrorTest, EntitiesComeWithTheirParametersAndValues ) {
   Ptr<Lamp> const hall = dir->lampIs( "hall", 40, red_, nullptr );
   hall->brightnessIs( 7 );
   hall->notesIs( 3, "three" );
   writer.entityAdd( house );
   writer.entityAdd( dir );
   pass();
   Ptr<Lamp> const twin = mirrored( "/house/lamps/hall" );
   ASSERT_TRUE( twin );
   EXPECT_NE( twin, hall );
   EXPECT_EQ( twin->fullName(), "/house/lamps/hall" );
   EXPECT_EQ( twin->watts(), 40 );
   EXPECT_EQ( twin->colour(), red_ );
   EXPECT_EQ( twin->brightness(), 7 );
   EXPECT_EQ( twin->notes().value( 3 ), "three" );
   EXPECT_EQ( mirror.entities().size(), 3 );
   EXPECT_THAT( told, IsEmpty() );
}

TEST_F( MirrorTest, ChangesAreToldToWhoObservesTheMirror ) {
   Ptr<Lamp> const lamp = plainLamp();
   writer.entityAdd( lamp );
   pass();
   Story story;
   LampWatch const watch( story, "mirror", mirrored( "/lamp" ) );
   lamp->brightnessIs( 5 );
   lamp->litIs( true );
   lamp->notesIs( 2, "two" );
   lamp->notesDel( 2 );
   pass();
   EXPECT_THAT( story, ElementsAre( "mirror: brightness 5", "mirror: lit", "mirror: note 2", "mirror: note 2" ) );
   EXPECT_FALSE( mirrored( "/lamp" )->notes().has( 2 ) );
}

TEST_F( MirrorTest, MembersComeAndGo ) {
   writer.entityAdd( dir );
   pass();
   dir->lampIs( "hall", 40, red_, nullptr );
   pass();
   EXPECT_TRUE( mirrored( "/house/lamps/hall" ) );
   dir->memberDel( "hall" );
   pass();
   EXPECT_FALSE( mirrored( "/house/lamps/hall" ) );
   EXPECT_EQ( Lamp::living, 0 );
}

TEST_F( MirrorTest, ASnapshotThatIsEqualIsSilent ) {
   Ptr<Lamp> const hall = dir->lampIs( "hall", 40, red_, house );
   hall->notesIs( 3, "three" );
   writer.entityAdd( house );
   writer.entityAdd( dir );
   LogBatch whole;
   writer.whole( whole );
   mirror.snapshotIs( whole );
   Ptr<Lamp> const twin = mirrored( "/house/lamps/hall" );
   Story story;
   LampWatch const watch( story, "mirror", twin );
   mirror.snapshotIs( whole );
   EXPECT_EQ( mirrored( "/house/lamps/hall" ), twin );
   EXPECT_THAT( story, IsEmpty() );

   hall->notesDel( 3 );
   writer.whole( whole );
   mirror.snapshotIs( whole );
   EXPECT_THAT( story, ElementsAre( "mirror: note 3" ) );
}

TEST_F( MirrorTest, AReaderFollowsALogInMemory ) {
   MemoryLog log( 2 );
   std::unique_ptr<LogSource> const reader = log.source();
   Ptr<Lamp> const lamp = plainLamp();
   writer.entityAdd( lamp );
   log.append( { { 1, 1 }, true, writer.turn() } );
   writer.turnDone();
   LogBatch batch;
   LogPosition at;
   EXPECT_EQ( reader->next( at, batch, at ), LogSource::Got::gap );
   at = reader->snapshot( batch );
   EXPECT_EQ( at, ( LogPosition{ 1, 1 } ) );
   mirror.snapshotIs( batch );
   EXPECT_EQ( reader->next( at, batch, at ), LogSource::Got::nothing );
   for ( U32 turn = 2; turn <= 3; ++turn ) {
      lamp->brightnessIs( turn );
      log.append( { { 1, turn }, false, writer.turn() } );
      writer.turnDone();
   }
   ASSERT_EQ( reader->next( at, batch, at ), LogSource::Got::turn );
   mirror.turn( batch );
   EXPECT_EQ( mirrored( "/lamp" )->brightness(), 2 );
   ASSERT_EQ( reader->next( at, batch, at ), LogSource::Got::turn );
   mirror.turn( batch );
   EXPECT_EQ( mirrored( "/lamp" )->brightness(), 3 );
   EXPECT_EQ( reader->next( at, batch, at ), LogSource::Got::nothing );
   // The mirror wrote nothing.
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 3 } ) );
   EXPECT_TRUE( writer.turn().empty() );
}

}   // namespace
}   // namespace Test
