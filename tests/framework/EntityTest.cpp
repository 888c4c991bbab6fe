#include "framework/Entity.h"

#include "framework/Allocate.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;

// What must not compile.
static_assert( !std::is_copy_constructible_v<Lamp> && !std::is_copy_assignable_v<Lamp> );
static_assert( !std::is_convertible_v<Ptr<Lamp const>, Ptr<Lamp>>, "read-only access does not become writable" );
template<class Observer, class Notifier>
concept CanObserve = requires( Observer & observer, Notifier const & notifier ) {
   observer.notifierIs( notifier );
};
static_assert( CanObserve<Lamp::Notifiee, Ptr<Lamp>> );
static_assert( CanObserve<Lamp::NotifieeConst, Ptr<Lamp const>> );
static_assert( !CanObserve<Lamp::Notifiee, Ptr<Lamp const>>, "a writing observer needs a writable notifier" );
template<class T>
concept HasWattsSetter = requires( T & t ) {
   t.wattsIs( 1u );
};
static_assert( !HasWattsSetter<Lamp> );

class EntityTest : public testing::Test {
 protected:
   Ptr<LampWatch> watch( std::string name, Ptr<Lamp const> const & of ) { return new LampWatch( story, name, of ); }
   Ptr<EntityWatch> watchAll( std::string name, Ptr<Vor::Entity const> const & of ) {
      return new EntityWatch( story, name, of );
   }
   void TearDown() override {
      lamp = nullptr;
      EXPECT_EQ( Lamp::living, 0 );
   }

   Story story;
   Ptr<Lamp> lamp = plainLamp();
};

TEST_F( EntityTest, NamesFormAPath ) {
   Ptr<Vor::Entity> const root = Vor::entityFactory( "hardware" );
   Ptr<Vor::Entity> const branch = Vor::entityFactory( "max24305" );
   EXPECT_EQ( branch->fullName(), "/max24305" );
   branch->parentIs( root.ptr() );
   EXPECT_EQ( branch->fullName(), "/hardware/max24305" );
   branch->parentIs( nullptr );
   EXPECT_EQ( branch->fullName(), "/max24305" );
   EXPECT_EQ( branch->parentAttrName(), "" );
}

TEST_F( EntityTest, ASetterStoresAndTellsOnlyOfAChange ) {
   auto const watcher = watch( "w", lamp );
   lamp->brightnessIs( 0 );
   lamp->brightnessIs( 5 );
   lamp->brightnessIs( 5 );
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "w: brightness 5", "w: lit" ) );
}

TEST_F( EntityTest, ACollectionTellsOfTheKeyAndNeverOfTheWhole ) {
   auto const watcher = watch( "w", lamp );
   lamp->notesIs( 3, "a" );
   lamp->notesIs( 3, "a" );
   lamp->notesIs( 3, "b" );
   lamp->notesDel( 3 );
   lamp->notesDel( 3 );
   EXPECT_THAT( story, ElementsAre( "w: note 3", "w: note 3", "w: note 3" ) );
}

TEST_F( EntityTest, ObserversAreToldInTheOrderInWhichTheyJoined ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   first->notifierIs( nullptr );
   first->notifierIs( lamp );
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "2: lit", "1: lit" ) );
}

TEST_F( EntityTest, AGenericObserverGetsEveryChangeWithItsAttributeAndKey ) {
   auto const watcher = watchAll( "all", lamp );
   lamp->brightnessIs( 1 );
   lamp->notesIs( 3, "a" );
   lamp->litIs( true );
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "all: lamp.brightness", "all: lamp.notes[3]", "all: lamp.lit" ) );
}

TEST_F( EntityTest, TheGenericObserverIsToldFirstAndAfterTheValueIsStored ) {
   auto const typed = watch( "typed", lamp );
   auto const generic = watchAll( "generic", lamp );
   U32 seen = 0;
   generic->then = [&] { seen = lamp->brightness(); };
   lamp->brightnessIs( 9 );
   EXPECT_EQ( seen, 9u );
   EXPECT_THAT( story, ElementsAre( "generic: lamp.brightness", "typed: brightness 9" ) );
}

TEST_F( EntityTest, ANestedChangeIsRecordedAfterTheChangeThatCausedIt ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   auto const generic = watchAll( "all", lamp );
   first->then = [&] { lamp->litIs( true ); };
   lamp->brightnessIs( 2 );
   EXPECT_THAT(
      story, ElementsAre(
                "all: lamp.brightness", "1: brightness 2", "all: lamp.lit", "1: lit", "2: lit", "2: brightness 2" ) );
}

TEST_F( EntityTest, ANestedChangeOfTheSameAttributeReachesEverybody ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   first->then = [&] {
      if ( lamp->brightness() < 3 ) lamp->brightnessIs( lamp->brightness() + 1 );
   };
   lamp->brightnessIs( 2 );
   // The outer visit goes on with the value that stands there by then.
   EXPECT_THAT( story, ElementsAre( "1: brightness 2", "1: brightness 3", "2: brightness 3", "2: brightness 3" ) );
}

TEST_F( EntityTest, AnObserverMayLeaveDuringAVisit ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   auto const third = watch( "3", lamp );
   first->then = [&] {
      first->notifierIs( nullptr );
      second->notifierIs( nullptr );
   };
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "1: lit", "3: lit" ) );
}

TEST_F( EntityTest, AnObserverThatJoinsDuringAVisitWaitsForTheNextChange ) {
   auto const first = watch( "1", lamp );
   Ptr<LampWatch> late;
   first->then = [&] {
      if ( !late ) late = watch( "late", lamp );
   };
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "1: lit" ) );
   lamp->litIs( false );
   EXPECT_THAT( story, ElementsAre( "1: lit", "1: unlit", "late: unlit" ) );
}

TEST_F( EntityTest, AnObserverMayDestroyItselfAndOthersDuringAVisit ) {
   auto first = watch( "1", lamp );
   auto second = watch( "2", lamp );
   auto third = watch( "3", lamp );
   first->then = [&] {
      second = nullptr;
      first = nullptr;
   };
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "1: lit", "3: lit" ) );
   EXPECT_EQ( first, nullptr );
}

TEST_F( EntityTest, AnObserverMayDropTheLastReferenceToTheEntity ) {
   auto first = watch( "1", lamp );
   auto second = watch( "2", lamp );
   Lamp * const plain = lamp.ptr();
   lamp = nullptr;   // the observers hold it now
   first->then = [&] {
      second = nullptr;
      first = nullptr;
      EXPECT_EQ( Lamp::living, 1 );   // held to the end of the visit
   };
   plain->litIs( true );
   EXPECT_EQ( Lamp::living, 0 );
   EXPECT_THAT( story, ElementsAre( "1: lit" ) );
}

TEST_F( EntityTest, AGenericObserverMayDoAllOfThatToo ) {
   auto first = watchAll( "1", lamp );
   auto second = watchAll( "2", lamp );
   auto third = watchAll( "3", lamp );
   Ptr<EntityWatch> late;
   auto typed = watch( "typed", lamp );
   Lamp * const plain = lamp.ptr();
   lamp = nullptr;
   first->then = [&] {
      late = watchAll( "late", plain );
      late = nullptr;
      second->notifierIs( nullptr );
      third->then = [&] {
         typed->notifierIs( nullptr );
         third = nullptr;
      };
      first = nullptr;
   };
   plain->litIs( true );
   EXPECT_EQ( Lamp::living, 0 );
   EXPECT_THAT( story, ElementsAre( "1: lamp.lit", "3: lamp.lit" ) );
}

TEST_F( EntityTest, AnObserverThatIsSwitchedOffOrAZombieIsPassedOver ) {
   auto const off = watch( "off", lamp );
   auto const zombie = watch( "zombie", lamp );
   auto const generic = watchAll( "generic", lamp );
   off->hasNotificationActiveIs( false );
   generic->hasNotificationActiveIs( false );
   zombie->vorZombieIs( true );
   lamp->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
   zombie->vorZombieIs( false );
   lamp->litIs( false );
   EXPECT_THAT( story, ElementsAre( "zombie: unlit" ) );   // and nothing is replayed
}

TEST_F( EntityTest, AnObserverIsRegisteredUntilItIsDeregistered ) {
   auto const watcher = watch( "w", lamp );
   watcher->isRegisteredNotifieeIs( false );
   lamp->litIs( true );
   watcher->isRegisteredNotifieeIs( true );
   lamp->litIs( false );
   EXPECT_THAT( story, ElementsAre( "w: unlit" ) );
}

TEST_F( EntityTest, TheSameNotifierDoesNothingAndNoneOnlyLeaves ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   first->notifierIs( lamp );   // keeps its place
   lamp->litIs( true );
   EXPECT_THAT( story, ElementsAre( "1: lit", "2: lit" ) );
   first->notifierIs( nullptr );
   EXPECT_EQ( first->notifier(), nullptr );
   lamp->litIs( false );
   EXPECT_EQ( story.back(), "2: unlit" );
}

TEST_F( EntityTest, AnEntityOfAnotherTypeIsNoNotifier ) {
   auto const watcher = watch( "w", lamp );
   watcher->notifierIs( Vor::entityFactory( "other" ) );
   EXPECT_EQ( watcher->notifier(), nullptr );
   lamp->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
}

TEST_F( EntityTest, AnObserverHoldsItsNotifier ) {
   auto watcher = watch( "w", lamp );
   lamp = nullptr;
   EXPECT_EQ( Lamp::living, 1 );
   watcher = nullptr;
   EXPECT_EQ( Lamp::living, 0 );
}

TEST_F( EntityTest, AWritingObserverWritesItsNotifier ) {
   struct Dimmer final : Lamp::Notifiee {
      void onLit() override { notifier()->brightnessIs( 100 ); }
   };
   Ptr<Dimmer> const dimmer = new Dimmer;
   dimmer->notifierIs( lamp );
   lamp->litIs( true );
   EXPECT_EQ( lamp->brightness(), 100u );
}

TEST_F( EntityTest, ADerivedTypeTellsTheObserversOfItsBaseToo ) {
   struct DimmedWatch final : DimmedLamp::NotifieeConst {
      explicit DimmedWatch( Story & s ) : story( s ) {}
      void onLit() override { story.push_back( "derived: lit" ); }
      void onDimmer() override { story.push_back( "derived: dimmer" ); }
      Story & story;
   };
   Ptr<DimmedLamp> const dimmed = Vor::allocate<DimmedLamp>( "d" );
   auto const base = watch( "base", dimmed );
   Ptr<DimmedWatch> const derived = new DimmedWatch( story );
   derived->notifierIs( dimmed );
   auto const generic = watchAll( "all", dimmed );
   dimmed->litIs( true );
   dimmed->dimmerIs( 3 );
   EXPECT_THAT( story, ElementsAre( "all: d.lit", "base: lit", "derived: lit", "all: d.dimmer", "derived: dimmer" ) );
}

/// Changes itself in its constructor, where nobody holds it yet.
struct Eager final : Lamp {
   Eager() : Lamp( "eager", 40, white_, nullptr ) { litIs( true ); }
};

TEST_F( EntityTest, AChangeInTheConstructorLeavesTheObjectAlive ) {
   Ptr<Eager> const eager = new Eager;
   EXPECT_TRUE( eager->lit() );
   EXPECT_EQ( eager->references(), 1 );
}

TEST_F( EntityTest, AnExceptionOfAnObserverEndsTheVisitAndNothingElse ) {
   auto const first = watch( "1", lamp );
   auto const second = watch( "2", lamp );
   first->then = [] { throw Vor::Exception( "no" ); };
   EXPECT_THROW( lamp->litIs( true ), Vor::Exception );
   EXPECT_TRUE( lamp->lit() );
   first->then = nullptr;
   lamp->litIs( false );
   EXPECT_THAT( story, ElementsAre( "1: lit", "1: unlit", "2: unlit" ) );
}

}   // namespace
}   // namespace Test
