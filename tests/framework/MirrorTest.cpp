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
   Mirror::Tell const tell = [this]( Vor::String const & text ) { told.push_back( text.stdString() ); };
   Mirror mirror{ tell };
   Mirror late{ tell };   // gets a snapshot only
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

TEST_F( MirrorTest, WhatVanishedFromASnapshotGoesAndWhatIsMadeOtherwiseIsMadeAnew ) {
   dir->lampIs( "hall", 40, red_, nullptr );
   dir->lampIs( "attic", 40, red_, nullptr );
   dir->lampIs( "cellar", 40, red_, nullptr );
   writer.entityAdd( dir );
   pass();
   Ptr<Lamp> const hall = mirrored( "/house/lamps/hall" );
   Ptr<Lamp> const attic = mirrored( "/house/lamps/attic" );
   dir->memberDel( "cellar" );
   dir->memberDel( "attic" );
   dir->lampIs( "attic", 60, red_, nullptr );
   LogBatch whole;
   writer.whole( whole );
   mirror.snapshotIs( whole );
   EXPECT_EQ( mirrored( "/house/lamps/hall" ), hall );
   EXPECT_FALSE( mirrored( "/house/lamps/cellar" ) );
   EXPECT_NE( mirrored( "/house/lamps/attic" ), attic );
   EXPECT_EQ( mirrored( "/house/lamps/attic" )->watts(), 60 );
   EXPECT_EQ( attic->parent(), nullptr );
}

TEST_F( MirrorTest, AReferenceIsTheMirrorsOwnEntity ) {
   Ptr<Lamp> const lamp = lampFactory( "lamp", 40, red_, house );
   Ptr<Lamp> const other = lampFactory( "other", 40, red_, plainLamp( "unpublished" ) );
   writer.entityAdd( house );
   writer.entityAdd( lamp );
   writer.entityAdd( other );
   pass();
   EXPECT_EQ( mirrored( "/lamp" )->socket(), mirror.entity( "/house" ) );
   EXPECT_NE( mirrored( "/lamp" )->socket(), house );
   EXPECT_EQ( mirrored( "/other" )->socket(), nullptr );
}

TEST_F( MirrorTest, MembersOfOneDirectoryReferToEachOther ) {
   Ptr<Lamp> before = dir->lampIs( "0", 40, red_, nullptr );
   for ( U32 i = 1; i < 20; ++i ) before = dir->lampIs( std::to_string( i ), 40, red_, before );
   writer.entityAdd( dir );
   LogBatch whole;
   writer.whole( whole );
   pass();
   for ( Mirror * const each : { &mirror, &late } ) {
      if ( each == &late ) each->snapshotIs( whole );
      for ( U32 i = 1; i < 20; ++i ) {
         auto const lamp = Vor::ptrCast<Lamp>( each->entity( "/house/lamps/" + std::to_string( i ) ) );
         EXPECT_EQ( lamp->socket(), each->entity( "/house/lamps/" + std::to_string( i - 1 ) ) ) << i;
      }
   }
}

TEST_F( MirrorTest, ASnapshotHasReferencesToWhatWasPublishedLater ) {
   Ptr<Lamp> const later = plainLamp( "later" );
   writer.entityAdd( lampFactory( "lamp", 40, red_, later ) );
   writer.entityAdd( later );
   pass();
   EXPECT_EQ( mirrored( "/lamp" )->socket(), nullptr );
   LogBatch whole;
   writer.whole( whole );
   for ( Mirror * const each : { &mirror, &late } ) {
      each->snapshotIs( whole );
      auto const lamp = Vor::ptrCast<Lamp>( each->entity( "/lamp" ) );
      ASSERT_TRUE( lamp->socket() );
      EXPECT_EQ( lamp->socket(), each->entity( "/later" ) );
      each->snapshotIs( whole );
      EXPECT_EQ( each->entity( "/lamp" ), lamp );
   }
}

TEST_F( MirrorTest, AMemberIsMirroredWithoutItsDirectory ) {
   writer.entityAdd( dir->lampIs( "hall", 40, red_, nullptr ) );
   pass();
   EXPECT_EQ( mirrored( "/house/lamps/hall" )->watts(), 40 );
   writer.entityAdd( dir );
   LogBatch whole;
   writer.whole( whole );
   mirror.snapshotIs( whole );
   EXPECT_EQ(
      Vor::ptrCast<LampDir>( mirror.entity( "/house/lamps" ) )->member( "hall" ), mirrored( "/house/lamps/hall" ) );
}

TEST_F( MirrorTest, WhoHoldsAnEntityLongerThanTheMirrorFindsNoParentGone ) {
   writer.entityAdd( dir );
   auto gone = std::make_unique<Mirror>( nullptr );
   gone->turn( writer.turn() );
   Ptr<Vor::Entity> const held = gone->entity( "/house/lamps" );
   gone.reset();
   EXPECT_EQ( held->fullName(), "/lamps" );

   pass();
   Ptr<Vor::Entity> const removed = mirror.entity( "/house/lamps" );
   writer.entityDel( house );
   pass();
   EXPECT_EQ( removed->fullName(), "/lamps" );
   EXPECT_THAT( mirror.entities(), IsEmpty() );
}

TEST_F( MirrorTest, ATypeWithoutAFactoryIsMadeByItsMaker ) {
   Ptr<DimmedLamp> const lamp = Vor::allocate<DimmedLamp>( "dimmed" );
   lamp->dimmerIs( 5 );
   writer.entityAdd( lamp );
   pass();
   EXPECT_THAT( told, ElementsAre( "entities of type Test::DimmedLamp are passed over: nobody makes one here" ) );
   LogBatch whole;
   writer.whole( whole );
   mirror.makerIs( "Test::DimmedLamp", []( Vor::Name const & name ) { return Vor::allocate<DimmedLamp>( name ); } );
   mirror.snapshotIs( whole );
   ASSERT_TRUE( mirror.entity( "/dimmed" ) );
   EXPECT_EQ( Vor::ptrCast<DimmedLamp>( mirror.entity( "/dimmed" ) )->dimmer(), 5 );
}

/// One entry against a mirror that has /lamp, and what was told of it.
class OtherReleaseTest : public MirrorTest {
 protected:
   OtherReleaseTest() {
      writer.entityAdd( lamp );
      pass();
   }
   static std::string number( U32 value ) { return { reinterpret_cast<char const *>( &value ), sizeof value }; }
   static LogEntry change( std::string_view attribute, std::string_view value, std::string_view key = "" ) {
      return { .kind = LogEntry::Kind::change, .entity = "/lamp", .attribute = attribute, .key = key, .value = value };
   }
   void take( LogEntry const & entry ) {
      LogBatch batch;
      batch.entryAdd( entry );
      mirror.turn( batch );
   }
   /// What is wrong with the entry; the mirror is as it was.
   std::string refusal( LogEntry const & entry ) {
      Story story;
      LampWatch const watch( story, "mirror", mirrored( "/lamp" ) );
      std::size_t const entities = mirror.entities().size();
      try {
         take( entry );
      } catch ( LogFormatException const & error ) {
         EXPECT_THAT( story, IsEmpty() );
         EXPECT_EQ( mirror.entities().size(), entities );
         return error.what();
      }
      return "";
   }
   std::string creation( U32 parametersShape, U32 shape, std::string const & parameters ) {
      return number( parametersShape ) + number( shape ) + parameters;
   }
   /// Of a lamp of that name, without a socket.
   std::string creation( std::string const & name, U32 colour, U32 otherShape = 0 ) {
      auto const & operations = Lamp::staticType().operations();
      return creation(
         operations.parametersShape, operations.shape + otherShape,
         number( static_cast<U32>( name.size() ) ) + name + number( 40 ) + number( colour ) + number( 0 ) );
   }
   LogEntry lampOf( std::string_view name, std::string_view value ) {
      return { .kind = LogEntry::Kind::create, .entity = name, .type = "Test::Lamp", .value = value };
   }

   Ptr<Lamp> const lamp = plainLamp();
};

TEST_F( OtherReleaseTest, ValuesThatAreCutOffOrTooLongAreRefusedWithPlaceAndCause ) {
   EXPECT_EQ(
      refusal( change( "brightness", "123" ) ),
      "entry 1 of the batch, change of '/lamp.brightness': expected 4 bytes at byte 0 of the value, found 3" );
   EXPECT_THAT( refusal( change( "brightness", "12345" ) ), HasSubstr( "expected the end at byte 4 of the value" ) );
   EXPECT_THAT( refusal( change( "lit", "\2" ) ), HasSubstr( "expected a number up to 1, found 2" ) );
   std::string const note = number( 3 ) + "abc";
   for ( std::size_t size = 0; size < note.size(); ++size )
      EXPECT_NE( refusal( change( "notes", note.substr( 0, size ), number( 1 ) ) ), "" ) << size;
   EXPECT_THAT( refusal( change( "notes", note, "key" ) ), HasSubstr( "expected 4 bytes at byte 0 of the value" ) );
   EXPECT_THAT( refusal( change( "notes", note, "longer" ) ), HasSubstr( "expected the end" ) );
   EXPECT_EQ( refusal( change( "notes", note, number( 1 ) ) ), "" );
   EXPECT_THAT( told, IsEmpty() );
}

TEST_F( OtherReleaseTest, CreationsThatAreCutOffOrTooLongAreRefused ) {
   std::string const whole = creation( "new", red_ );
   for ( std::size_t size = 0; size < whole.size(); ++size )
      EXPECT_NE( refusal( lampOf( "/new", whole.substr( 0, size ) ) ), "" ) << size;
   EXPECT_NE( refusal( lampOf( "/new", whole + "x" ) ), "" );
   EXPECT_THAT( refusal( lampOf( "/old", whole ) ), HasSubstr( "expected a full name that ends with '/new'" ) );
   LogEntry held = lampOf( "/nowhere/new", whole );
   held.attribute = "lamp";
   EXPECT_THAT( refusal( held ), HasSubstr( "there is no entity '/nowhere'" ) );
   EXPECT_EQ( refusal( lampOf( "/new", whole ) ), "" );
   EXPECT_TRUE( mirrored( "/new" ) );
}

TEST_F( OtherReleaseTest, EntitiesThatAreNotThereAreRefused ) {
   std::string const one = number( 1 );
   LogEntry nobody = change( "brightness", one );
   nobody.entity = "/nobody";
   EXPECT_THAT( refusal( nobody ), HasSubstr( "'/nobody.brightness': there is no entity of that name" ) );
   EXPECT_THAT( refusal( { .kind = LogEntry::Kind::remove, .entity = "/nobody" } ), HasSubstr( "remove of" ) );
}

TEST_F( OtherReleaseTest, TheEntriesBeforeOneThatIsRefusedAreApplied ) {
   LogBatch batch;
   std::string const five = number( 5 );
   std::string const six = number( 6 );
   batch.entryAdd( change( "brightness", five ) );
   batch.entryAdd( change( "brightness", "12" ) );
   batch.entryAdd( change( "brightness", six ) );
   EXPECT_THROW( mirror.turn( batch ), LogFormatException );
   EXPECT_EQ( mirrored( "/lamp" )->brightness(), 5 );
}

TEST_F( OtherReleaseTest, AttributesThatAreNotKnownArePassedOverAndToldOnce ) {
   for ( int i = 0; i < 2; ++i ) {
      take( change( "hue", "any" ) );
      take( change( "watts", number( 1 ) ) );         // no longer a constructor's alone
      take( change( "brightness", "any", "key" ) );   // by key there
      take( change( "notes", "any" ) );               // without one there
      take( { .kind = LogEntry::Kind::erase, .entity = "/lamp", .attribute = "lit" } );
   }
   EXPECT_THAT(
      told, ElementsAre(
               "Test::Lamp.hue is passed over: this release has no such attribute",
               "Test::Lamp.watts is passed over: this release has no such attribute",
               "Test::Lamp.brightness is passed over: this release has no such attribute",
               "Test::Lamp.notes is passed over: this release has no such attribute",
               "Test::Lamp.lit is passed over: this release has no such attribute" ) );
}

TEST_F( OtherReleaseTest, TypesThatAreNotKnownArePassedOverWithWhatIsSaidOfThem ) {
   std::string const one = creation( "one", red_ );
   for ( int i = 0; i < 2; ++i ) {
      take( { .kind = LogEntry::Kind::create, .entity = "/new", .type = "Test::Torch", .value = "any" } );
      LogEntry const member{
         .kind = LogEntry::Kind::create,
         .entity = "/new/one",
         .type = "Test::Lamp",
         .attribute = "torch",
         .value = one };
      take( member );
      LogEntry said = change( "brightness", "any" );
      for ( std::string_view const name : { "/new", "/new/one" } ) {
         said.entity = name;
         take( said );
      }
      take( { .kind = LogEntry::Kind::remove, .entity = "/new/one" } );
      take( { .kind = LogEntry::Kind::remove, .entity = "/new" } );
   }
   EXPECT_THAT(
      told, ElementsAre(
               "entities of type Test::Torch are passed over: this release has no such type",
               "entities of type Test::Lamp are passed over: what holds them is passed over" ) );
   EXPECT_EQ( mirror.entities().size(), 1 );
}

TEST_F( OtherReleaseTest, AnEnumeratorThatIsNotKnownIsPassedOver ) {
   take( lampOf( "/new", creation( "new", 5 ) ) );
   EXPECT_FALSE( mirrored( "/new" ) );
   EXPECT_THAT( told, ElementsAre( "entities of type Test::Lamp are passed over: Test::Colour has no enumerator 5" ) );
}

TEST_F( OtherReleaseTest, OtherParametersMakeNoEntity ) {
   take( lampOf( "/new", creation( 1, 2, "any" ) ) );
   EXPECT_FALSE( mirrored( "/new" ) );
   EXPECT_THAT(
      told,
      ElementsAre( "entities of type Test::Lamp are passed over: this release makes them from other parameters" ) );
}

TEST_F( OtherReleaseTest, AValueOfAnAttributeThatIsOtherwiseThereIsPassedOver ) {
   take( lampOf( "/lamp", creation( "lamp", white_, 1 ) ) );
   take( change( "brightness", "a text" ) );
   take( change( "lit", std::string_view( "\1" ) ) );
   EXPECT_TRUE( mirrored( "/lamp" )->lit() );
   EXPECT_THAT(
      told,
      ElementsAre( "Test::Lamp.brightness is passed over: the writer's release has it otherwise: expected the end "
                   "at byte 4 of the value, found 2 more" ) );
}

}   // namespace
}   // namespace Test
