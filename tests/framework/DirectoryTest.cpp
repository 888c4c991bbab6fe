#include "framework/Directory.h"

#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Name;
using Vor::NameInUseException;
using Vor::Ptr;

/// Writes down how the directory and its member stood as each key was told.
class DirWatch final : public LampDir::NotifieeConst {
 public:
   explicit DirWatch( Ptr<LampDir const> const & dir ) { vorAttach( dir ); }
   void onLamp( Name const & name ) override {
      Ptr<Lamp> const member = notifier()->member( name );
      story.push_back(
         name.string().stdString() +
         ( member ? " held by '" + member->parentAttrName().stdString() + "', " + member->fullName().stdString()
                  : " gone" ) );
      if ( auto const next = then ) next();
   }
   void onLamp() override { story.push_back( "all" ); }

   Story story;
   std::function<void()> then;
};

class DirectoryTest : public testing::Test {
 protected:
   Ptr<Lamp> hall() { return dir->lampIs( "hall", 40, red_, socket ); }
   std::string messageOf( auto && step ) {
      try {
         step();
      } catch ( NameInUseException const & error ) {
         return error.what();
      }
      ADD_FAILURE() << "nothing was thrown";
      return "";
   }

   Ptr<LampDir> dir = lampDirFactory( "lamps" );
   Ptr<Vor::Entity> socket = Vor::entityFactory( "socket" );
   Ptr<DirWatch> watch = new DirWatch( dir );
};

TEST_F( DirectoryTest, ANewMemberIsCompleteAsItIsTold ) {
   Ptr<Lamp> const made = hall();
   EXPECT_THAT( watch->story, ElementsAre( "hall held by 'lamp', /lamps/hall" ) );
   EXPECT_EQ( made->parent(), dir.ptr() );
   EXPECT_EQ( made->parentAttrId(), 1u );
   EXPECT_EQ( dir->member( "hall" ), made );
   EXPECT_EQ( made->watts(), 40u );
}

TEST_F( DirectoryTest, TheSameParametersGiveTheMemberAsItIsAndTellNobody ) {
   Ptr<Lamp> const made = hall();
   made->brightnessIs( 7 );
   made->notesIs( 1, "kept" );
   watch->story.clear();
   EXPECT_EQ( hall(), made );
   EXPECT_THAT( watch->story, IsEmpty() );
   EXPECT_EQ( made->brightness(), 7u );
   EXPECT_EQ( made->notes().count(), 1u );
   EXPECT_EQ( dir->members().count(), 1u );
}

TEST_F( DirectoryTest, EachParameterThatDiffersIsNamedRequestedBeforeCurrent ) {
   hall();
   EXPECT_EQ(
      messageOf( [&] { dir->lampIs( "hall", 60, red_, socket ); } ),
      "Reinstantiating the entity with fullName '/lamps/hall' where constructor parameter attribute 'watts' has a "
      "different value of 60 than the current value of 40 not allowed" );
   EXPECT_EQ(
      messageOf( [&] { dir->lampIs( "hall", 40, deepBlue_, socket ); } ),
      "Reinstantiating the entity with fullName '/lamps/hall' where constructor parameter attribute 'colour' has a "
      "different value of 'deepBlue' than the current value of 'red' not allowed" );
   EXPECT_EQ(
      messageOf( [&] { dir->lampIs( "hall", 40, red_, nullptr ); } ),
      "Reinstantiating the entity with fullName '/lamps/hall' where constructor parameter attribute 'socket' has a "
      "different value of 'none' than the current value of '/socket' not allowed" );
}

TEST_F( DirectoryTest, TheFirstDifferenceInConstructorOrderIsNamed ) {
   hall();
   EXPECT_THAT( messageOf( [&] { dir->lampIs( "hall", 60, deepBlue_, nullptr ); } ), testing::HasSubstr( "'watts'" ) );
   EXPECT_THAT( messageOf( [&] { dir->lampIs( "hall", 40, deepBlue_, nullptr ); } ), testing::HasSubstr( "'colour'" ) );
}

TEST_F( DirectoryTest, ReferencesAreComparedByIdentity ) {
   hall();
   Ptr<Vor::Entity> const twin = Vor::entityFactory( "socket" );
   EXPECT_THAT(
      messageOf( [&] { dir->lampIs( "hall", 40, red_, twin ); } ),
      testing::HasSubstr( Vor::format(
         "value of '/socket' (entity %u) than the current value of '/socket' (entity %u) not allowed", twin->ordinal(),
         socket->ordinal() ) ) );
}

TEST_F( DirectoryTest, ARefusedReinstantiationChangesNothing ) {
   Ptr<Lamp> const made = hall();
   watch->story.clear();
   messageOf( [&] { dir->lampIs( "hall", 60, red_, socket ); } );
   EXPECT_THAT( watch->story, IsEmpty() );
   EXPECT_EQ( dir->member( "hall" ), made );
   EXPECT_EQ( made->watts(), 40u );
   EXPECT_EQ( dir->members().count(), 1u );
   EXPECT_EQ( Lamp::living, 1 );
}

TEST_F( DirectoryTest, ARemovedMemberIsGoneAsItIsTold ) {
   Ptr<Lamp> const made = hall();
   watch->story.clear();
   dir->memberDel( "hall" );
   EXPECT_THAT( watch->story, ElementsAre( "hall gone" ) );
   EXPECT_EQ( made->parent(), nullptr );
   EXPECT_EQ( made->fullName(), "/hall" );
   EXPECT_EQ( dir->member( "hall" ), nullptr );
}

TEST_F( DirectoryTest, RemovingAnAbsentNameDoesNothing ) {
   dir->memberDel( "attic" );
   EXPECT_THAT( watch->story, IsEmpty() );
}

TEST_F( DirectoryTest, ARemovedNameIsFreeForOtherParameters ) {
   hall();
   dir->memberDel( "hall" );
   EXPECT_EQ( dir->lampIs( "hall", 60, white_, nullptr )->watts(), 60u );
}

TEST_F( DirectoryTest, RemovingAllGoesInTheMapsOrderAndTellsOfEachName ) {
   for ( U32 i = 0; i < 30; ++i ) dir->lampIs( Vor::format( "lamp%u", i ), i, white_, nullptr );
   Story expected;
   for ( auto const & [name, member] : dir->members() ) expected.push_back( name.string().stdString() + " gone" );
   watch->story.clear();
   dir->memberDelAll();
   EXPECT_EQ( watch->story, expected );
   EXPECT_EQ( dir->members().count(), 0u );
   EXPECT_EQ( Lamp::living, 0 );
}

TEST_F( DirectoryTest, AnObserverMayChangeTheDirectoryWhileAllAreRemoved ) {
   for ( U32 i = 0; i < 8; ++i ) dir->lampIs( Vor::format( "lamp%u", i ), i, white_, nullptr );
   watch->story.clear();
   watch->then = [&] {
      watch->then = nullptr;
      for ( Name const & name : dir->members().keys() ) dir->memberDel( name );
      dir->lampIs( "new", 1, white_, nullptr );
   };
   dir->memberDelAll();
   EXPECT_EQ( watch->story.size(), 9u );   // each of the eight once, and the new one as it came
   EXPECT_EQ( dir->members().count(), 1u );
}

TEST_F( DirectoryTest, AnObserverMayDropTheDirectoryWhileAllAreRemoved ) {
   for ( U32 i = 0; i < 8; ++i ) dir->lampIs( Vor::format( "lamp%u", i ), i, white_, nullptr );
   LampDir * const plain = dir.ptr();
   dir = nullptr;
   watch->then = [&] { watch->notifierIs( nullptr ); };
   plain->memberDelAll();
   EXPECT_EQ( Lamp::living, 0 );
   EXPECT_EQ( LampDir::staticType().allocated(), 0u );
}

TEST_F( DirectoryTest, NotifyingTellsOfAnyNameAndChangesNothing ) {
   hall();
   watch->story.clear();
   dir->memberNotify( "hall" );
   dir->memberNotify( "attic" );
   EXPECT_THAT( watch->story, ElementsAre( "hall held by 'lamp', /lamps/hall", "attic gone" ) );
}

TEST_F( DirectoryTest, AGenericObserverGetsTheKey ) {
   Story story;
   Ptr<EntityWatch> const generic = new EntityWatch( story, "all", dir );
   hall();
   dir->memberDel( "hall" );
   EXPECT_THAT( story, ElementsAre( "all: lamps.lamp[hall]", "all: lamps.lamp[hall]" ) );
}

TEST_F( DirectoryTest, AMemberOutlivesItsDirectoryWithoutAParent ) {
   Ptr<Lamp> const made = hall();
   watch = nullptr;
   dir = nullptr;
   EXPECT_EQ( made->parent(), nullptr );
   EXPECT_EQ( made->fullName(), "/hall" );
}

}   // namespace
}   // namespace Test
