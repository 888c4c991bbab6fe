#include "framework/Reactor.h"

#include "framework/Allocate.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;

/// Watches two lamps, the second with write access.
class Keeper final : public Vor::StateMachine {
 public:
   Keeper( Story & story, Ptr<Lamp const> const & hall, Ptr<Lamp> const & attic ) : story_( story ) {
      hallIs( hall );
      atticIs( attic );
   }
   ~Keeper() override {
      story_.push_back( "keeper gone" );
      if ( atItsEnd ) atItsEnd();
   }

   Ptr<Lamp const> hall() const { return hall_.notifier(); }
   void hallIs( Ptr<Lamp const> const & hall ) { hall_.notifierIs( hall ); }
   void hallDel() { hall_.notifierDel(); }
   Ptr<Lamp> attic() const { return attic_.notifier(); }
   void atticIs( Ptr<Lamp> const & attic ) { attic_.notifierIs( attic ); }
   Vor::NotifieeBase const * hallReactor() const { return hall_.reactor(); }

   void handleHall() {
      story_.push_back( "hall" );
      if ( auto const next = then ) next();
      story_.push_back( "hall done" );   // a use of this object after the observer's deed
   }
   void handleNote( U32 key ) { story_.push_back( "note " + std::to_string( key ) ); }
   void handleAttic() { attic()->brightnessIs( attic()->brightness() + 1 ); }

   std::function<void()> then;
   std::function<void()> atItsEnd;

 private:
   class VorHall final : public Vor::Reactor<Lamp::NotifieeConst, Keeper> {
      using Reactor::Reactor;
      void onNotifier() override { react( &Keeper::handleHall ); }
      void onLit() override { react( &Keeper::handleHall ); }
      void onNotes( U32 key ) override { react( &Keeper::handleNote, key ); }
      using NotifieeConst::onNotes;
   };
   class VorAttic final : public Vor::Reactor<Lamp::Notifiee, Keeper> {
      using Reactor::Reactor;
      void onLit() override { react( &Keeper::handleAttic ); }
   };

   Story & story_;
   Vor::ReactorAttribute<VorHall, Lamp const, Keeper> hall_{ *this };
   Vor::ReactorAttribute<VorAttic, Lamp, Keeper> attic_{ *this };
};

class ReactorTest : public testing::Test {
 protected:
   void active() { keeper->hasNotificationActiveIs( true ); }

   Story story;
   Ptr<Lamp> hall = plainLamp( "hall" );
   Ptr<Lamp> attic = plainLamp( "attic" );
   Ptr<Keeper> keeper = Vor::allocate<Keeper>( story, hall, attic );
};

TEST_F( ReactorTest, AttachingIsSilentAndNothingIsHeardBeforeTheMachineIsSwitchedOn ) {
   EXPECT_EQ( keeper->hall(), hall );
   hall->litIs( true );
   attic->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
   EXPECT_EQ( attic->brightness(), 0u );
   active();
   EXPECT_THAT( story, IsEmpty() );   // nothing is replayed
   hall->litIs( false );
   attic->litIs( false );
   EXPECT_THAT( story, ElementsAre( "hall", "hall done" ) );
   EXPECT_EQ( attic->brightness(), 1u );
}

TEST_F( ReactorTest, AKeyIsPassedOn ) {
   active();
   hall->notesIs( 3, "n" );
   EXPECT_THAT( story, ElementsAre( "note 3" ) );
}

TEST_F( ReactorTest, SwitchingOffSilencesEveryReactor ) {
   active();
   keeper->hasNotificationActiveIs( false );
   hall->litIs( true );
   attic->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
   EXPECT_EQ( attic->brightness(), 0u );
}

TEST_F( ReactorTest, TheSameNotifierDoesNothing ) {
   active();
   auto const * const before = keeper->hallReactor();
   keeper->hallIs( hall );
   EXPECT_EQ( keeper->hallReactor(), before );
   EXPECT_THAT( story, IsEmpty() );
}

TEST_F( ReactorTest, NoNotifierDeletesTheReactor ) {
   active();
   keeper->hallIs( nullptr );
   EXPECT_EQ( keeper->hallReactor(), nullptr );
   EXPECT_EQ( keeper->hall(), nullptr );
   EXPECT_EQ( hall->references(), 1 );
   hall->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
   keeper->hallIs( nullptr );
   keeper->hallDel();
}

TEST_F( ReactorTest, AnotherNotifierRePointsTheReactorAndTellsIt ) {
   active();
   auto const * const before = keeper->hallReactor();
   Ptr<Lamp> const landing = plainLamp( "landing" );
   keeper->hallIs( landing );
   EXPECT_EQ( keeper->hallReactor(), before );
   EXPECT_EQ( keeper->hall(), landing );
   EXPECT_EQ( hall->references(), 1 );
   EXPECT_THAT( story, ElementsAre( "hall", "hall done" ) );
   hall->litIs( true );
   EXPECT_EQ( story.size(), 2u );
   landing->litIs( true );
   EXPECT_EQ( story.size(), 4u );
}

TEST_F( ReactorTest, ANewReactorIsSilentAndTakesTheMachinesFlag ) {
   active();
   keeper->hallIs( nullptr );
   keeper->hallIs( hall );
   EXPECT_THAT( story, IsEmpty() );
   hall->litIs( true );
   EXPECT_THAT( story, ElementsAre( "hall", "hall done" ) );
   keeper->hasNotificationActiveIs( false );
   keeper->hallIs( nullptr );
   keeper->hallIs( hall );
   hall->litIs( false );
   EXPECT_EQ( story.size(), 2u );
}

TEST_F( ReactorTest, ReactorsAreNoReferencesToTheirMachine ) {
   EXPECT_EQ( keeper->references(), 1 );
   active();
   keeper = nullptr;
   EXPECT_THAT( story, ElementsAre( "keeper gone" ) );
   EXPECT_EQ( hall->references(), 1 );
   EXPECT_EQ( attic->references(), 1 );
   hall->litIs( true );
   EXPECT_EQ( story.size(), 1u );
}

TEST_F( ReactorTest, TheMachineIsHeldWhileItReacts ) {
   active();
   keeper->then = [this] { keeper = nullptr; };
   hall->litIs( true );
   EXPECT_THAT( story, ElementsAre( "hall", "hall done", "keeper gone" ) );
}

TEST_F( ReactorTest, TheReactorMayBeDroppedWhileItReacts ) {
   active();
   auto const other = Ptr<LampWatch>( new LampWatch( story, "other", hall ) );
   keeper->then = [this] { keeper->hallDel(); };
   hall->litIs( true );
   EXPECT_THAT( story, ElementsAre( "hall", "hall done", "other: lit" ) );
}

TEST_F( ReactorTest, NoReactorRunsOnceTheLastReferenceHasGone ) {
   active();
   keeper->atItsEnd = [this] {
      hall->litIs( true );
      attic->litIs( true );
   };
   keeper = nullptr;
   EXPECT_THAT( story, ElementsAre( "keeper gone" ) );
   EXPECT_EQ( attic->brightness(), 0u );
}

TEST_F( ReactorTest, ZombiesAreNotCalledUntilTheMarkIsTakenAway ) {
   active();
   keeper->vorDoZombieReactors( true );
   hall->litIs( true );
   EXPECT_THAT( story, IsEmpty() );
   keeper->vorDoZombieReactors( false );
   hall->litIs( false );
   EXPECT_EQ( story.size(), 2u );
}

TEST_F( ReactorTest, AZombieThatIsRePointedIsNotToldOfIt ) {
   active();
   keeper->vorDoZombieReactors( true );
   keeper->hallIs( plainLamp( "landing" ) );
   EXPECT_THAT( story, IsEmpty() );
}

/// Sets its lamp in the constructor, while its reactor is there already.
class Starter final : public Vor::StateMachine {
 public:
   Starter( Story & story, Ptr<Lamp> const & lamp ) : story_( story ) {
      lamp_.notifierIs( lamp );
      lamp_.notifier()->litIs( true );
   }
   void handleLamp() { story_.push_back( "starter" ); }

 private:
   class VorLamp final : public Vor::Reactor<Lamp::NotifieeConst, Starter> {
      using Reactor::Reactor;
      void onLit() override { react( &Starter::handleLamp ); }
   };
   Story & story_;
   Vor::ReactorAttribute<VorLamp, Lamp, Starter> lamp_{ *this };
};

TEST_F( ReactorTest, AChangeMadeByTheConstructorReachesTheOtherWatchersOnly ) {
   Ptr<Lamp> const lamp = plainLamp();
   Ptr<LampWatch> const other = new LampWatch( story, "other", lamp );
   Ptr<Starter> const starter = Vor::allocate<Starter>( story, lamp );
   starter->hasNotificationActiveIs( true );
   EXPECT_THAT( story, ElementsAre( "other: lit" ) );
   EXPECT_EQ( starter->references(), 1 );
   lamp->litIs( false );
   EXPECT_THAT( story, ElementsAre( "other: lit", "other: unlit", "starter" ) );
}

/// Tells how its two reactors are switched.
class Switchboard final : public Vor::StateMachine {
 public:
   explicit Switchboard( Story & story ) : story_( story ) {}
   void firstIs( Ptr<Lamp> const & lamp ) { first_.notifierIs( lamp ); }
   void secondIs( Ptr<Lamp> const & lamp ) { second_.notifierIs( lamp ); }

 private:
   class VorLamp final : public Vor::Reactor<Lamp::NotifieeConst, Switchboard> {
    public:
      VorLamp( Ptr<Lamp> const & lamp, Switchboard * machine ) : Reactor( lamp, machine ), story_( machine->story_ ) {}
      void hasNotificationActiveIs( bool active ) override {
         story_.push_back( notifier()->name().string().stdString() + ( active ? " on" : " off" ) );
         Reactor::hasNotificationActiveIs( active );
      }

    private:
      Story & story_;
   };
   Story & story_;
   Vor::ReactorAttribute<VorLamp, Lamp, Switchboard> first_{ *this };
   Vor::ReactorAttribute<VorLamp, Lamp, Switchboard> second_{ *this };
};

TEST_F( ReactorTest, ReactorsAreSwitchedInTheOrderOfTheirAttributesAndOnlyByAChange ) {
   Ptr<Switchboard> const machine = Vor::allocate<Switchboard>( story );
   machine->secondIs( attic );
   machine->firstIs( hall );
   EXPECT_THAT( story, ElementsAre( "attic off", "hall off" ) );
   story.clear();
   machine->hasNotificationActiveIs( false );
   EXPECT_THAT( story, IsEmpty() );
   machine->hasNotificationActiveIs( true );
   EXPECT_THAT( story, ElementsAre( "hall on", "attic on" ) );
   machine->hasNotificationActiveIs( true );
   machine->hasNotificationActiveIs( false );
   EXPECT_THAT( story, ElementsAre( "hall on", "attic on", "hall off", "attic off" ) );
}

}   // namespace
}   // namespace Test
