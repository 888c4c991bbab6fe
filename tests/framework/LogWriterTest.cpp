#include "framework/LogWriter.h"

#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::LogBatch;
using Vor::LogEntry;
using Vor::LogWriter;
using Vor::Ptr;

/// The entries in short: "+/lamp", "/lamp.lit", "/lamp.notes[4]" (bytes of the key), "-/lamp.notes[4]", "-/lamp".
Story told( LogBatch const & batch ) {
   Story story;
   for ( LogEntry const & entry : batch ) {
      using Kind = LogEntry::Kind;
      std::string text( entry.kind == Kind::create ? "+" : entry.kind == Kind::change ? "" : "-" );
      text += entry.entity;
      if ( entry.kind != Kind::create && !entry.attribute.empty() ) text.append( "." ).append( entry.attribute );
      if ( !entry.key.empty() ) text += "[" + std::to_string( entry.key.size() ) + "]";
      story.push_back( text );
   }
   return story;
}

class LogWriterTest : public testing::Test {
 protected:
   Story turn() {
      Story const story = told( writer.turn() );
      writer.turnDone();
      return story;
   }
   Ptr<Lamp> lamp = plainLamp();
   Ptr<LampDir> dir = lampDirFactory( "dir" );
   LogWriter writer;
};

TEST_F( LogWriterTest, AnEntityIsPublishedAsItIsAndThenItsChanges ) {
   lamp->notesIs( 1, "one" );
   writer.entityAdd( lamp );
   EXPECT_THAT( turn(), ElementsAre( "+/lamp", "/lamp.brightness", "/lamp.lit", "/lamp.notes[4]" ) );
   lamp->brightnessIs( 1 );
   lamp->brightnessIs( 1 );
   lamp->notesIs( 2, "two" );
   lamp->notesDel( 1 );
   EXPECT_THAT( turn(), ElementsAre( "/lamp.brightness", "/lamp.notes[4]", "-/lamp.notes[4]" ) );
   EXPECT_THAT( turn(), IsEmpty() );
}

TEST_F( LogWriterTest, MembersComeAndGoWithTheirDirectory ) {
   dir->lampIs( "a", 40, red_, nullptr );
   writer.entityAdd( dir );
   EXPECT_THAT( turn(), ElementsAre( "+/dir", "+/dir/a", "/dir/a.brightness", "/dir/a.lit" ) );
   Ptr<Lamp> const b = dir->lampIs( "b", 40, red_, nullptr );
   b->litIs( true );
   dir->memberNotify( "b" );
   EXPECT_THAT( turn(), ElementsAre( "+/dir/b", "/dir/b.brightness", "/dir/b.lit", "/dir/b.lit" ) );
   dir->memberDel( "b" );
   b->litIs( false );
   EXPECT_THAT( turn(), ElementsAre( "-/dir/b" ) );
   EXPECT_TRUE( b->observerList().empty() );
   writer.entityDel( dir );
   EXPECT_THAT( turn(), ElementsAre( "-/dir/a", "-/dir" ) );
   dir->lampIs( "c", 40, red_, nullptr );
   EXPECT_THAT( turn(), IsEmpty() );
   writer.entityDel( dir );
   EXPECT_THAT( turn(), IsEmpty() );
}

TEST_F( LogWriterTest, AMemberThatIsReplacedInOneTurnGoesAndComes ) {
   dir->lampIs( "a", 40, red_, nullptr );
   writer.entityAdd( dir );
   turn();
   dir->memberDel( "a" );
   dir->lampIs( "a", 60, red_, nullptr );
   EXPECT_THAT( turn(), ElementsAre( "-/dir/a", "+/dir/a", "/dir/a.brightness", "/dir/a.lit" ) );
}

TEST_F( LogWriterTest, PlainParentsComeAlong ) {
   Ptr<Vor::Entity> const house = Vor::entityFactory( "house" );
   Ptr<Vor::Entity> const floor = Vor::entityFactory( "floor" );
   floor->parentIs( house.ptr() );
   dir->parentIs( floor.ptr() );
   writer.entityAdd( dir );
   EXPECT_THAT( turn(), ElementsAre( "+/house", "+/house/floor", "+/house/floor/dir" ) );
   writer.entityAdd( house );
   writer.entityAdd( dir );
   EXPECT_THAT( turn(), IsEmpty() );
   writer.entityDel( house );
   EXPECT_THAT( turn(), ElementsAre( "-/house/floor/dir", "-/house/floor", "-/house" ) );
   floor->parentIs( nullptr );
   dir->parentIs( nullptr );
}

TEST_F( LogWriterTest, AFullNameIsPublishedOnce ) {
   writer.entityAdd( lamp );
   turn();
   EXPECT_THROW( writer.entityAdd( plainLamp() ), Vor::NameInUseException );
   EXPECT_THAT( turn(), IsEmpty() );
}

TEST_F( LogWriterTest, TheWholeIsWhatAWriterThatBeginsNowWouldPublish ) {
   writer.entityAdd( lamp );
   writer.entityAdd( dir );
   dir->lampIs( "a", 40, red_, lamp );
   lamp->brightnessIs( 3 );
   lamp->notesIs( 2, "two" );
   lamp->notesDel( 2 );
   LogBatch whole;
   whole.entryAdd( { .kind = LogEntry::Kind::remove, .entity = "/before" } );
   writer.whole( whole );
   EXPECT_THAT(
      told( whole ),
      ElementsAre( "+/lamp", "+/dir", "+/dir/a", "/lamp.brightness", "/lamp.lit", "/dir/a.brightness", "/dir/a.lit" ) );
   EXPECT_EQ( writer.turn().count(), 3 + 1 + 3 + 3 );   // what it has of the turn stays
}

TEST_F( LogWriterTest, ItHoldsWhatItPublishesAndLetsGoOfIt ) {
   {
      LogWriter other;
      other.entityAdd( lamp );
      lamp = nullptr;
      EXPECT_EQ( Lamp::living, 1 );
   }
   EXPECT_EQ( Lamp::living, 0 );
}

}   // namespace
}   // namespace Test
