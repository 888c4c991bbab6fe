#include "framework/Notifiee.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace Vor {
namespace {

static_assert( !std::is_copy_constructible_v<NotifieeList> && !std::is_copy_assignable_v<NotifieeList> );

class Subject : public PtrInterface {
 public:
   class NotifieeConst;

   NotifieeList * notifieeList() const override { return &list_; }
   inline void change() const;

 private:
   mutable NotifieeList list_;
};

class Subject::NotifieeConst : public NotifieeConstOf<Subject> {
 public:
   virtual void onChange() {}
};

void Subject::change() const {
   Ptr<Subject const> const held = this;
   list_.doVisit( []( NotifieeBase & member ) { static_cast<NotifieeConst &>( member ).onChange(); } );
}

class Stranger : public PtrInterface {};

class Watch : public Subject::NotifieeConst {
 public:
   Watch( std::string name, std::string & told ) : name( std::move( name ) ), told_( told ) {}
   void onChange() override {
      told_ += name;
      if ( auto const doOnChange = inOnChange ) doOnChange();
   }

   std::string const name;
   std::function<void()> inOnChange;

 private:
   std::string & told_;
};

static_assert( std::is_same_v<decltype( std::declval<Watch>().notifier() ), Ptr<Subject const>> );

class NotifieeTest : public testing::Test {
 protected:
   Ptr<Watch> watch( std::string name ) {
      Ptr<Watch> made = new Watch( std::move( name ), told );
      made->notifierIs( subject );
      return made;
   }
   std::string toldOfAChange() {
      told.clear();
      subject->change();
      return told;
   }

   Ptr<Subject> subject = new Subject;
   std::string told;
};

TEST_F( NotifieeTest, ANewObserverWatchesNothing ) {
   Ptr<Watch> const a = new Watch( "a", told );
   EXPECT_FALSE( a->notifier() );
   EXPECT_EQ( a->vorNotifier(), nullptr );
   EXPECT_TRUE( a->isRegisteredNotifiee() );
   EXPECT_TRUE( a->hasNotificationActive() );
   EXPECT_TRUE( subject->notifieeList()->empty() );
}

TEST_F( NotifieeTest, ObserversAreToldInTheOrderInWhichTheyJoined ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   auto const c = watch( "c" );
   EXPECT_EQ( toldOfAChange(), "abc" );
   EXPECT_EQ( toldOfAChange(), "abc" );
}

TEST_F( NotifieeTest, NullLeaves ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->notifierIs( nullptr );
   EXPECT_FALSE( a->notifier() );
   EXPECT_EQ( toldOfAChange(), "b" );
   a->notifierIs( nullptr );
   a->notifierIs( subject );
   EXPECT_EQ( toldOfAChange(), "ba" );
}

TEST_F( NotifieeTest, TheSameNotifierAgainKeepsThePlace ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->notifierIs( subject );
   EXPECT_EQ( toldOfAChange(), "ab" );
}

TEST_F( NotifieeTest, AnotherNotifierTakesThePlaceOfTheFirst ) {
   auto const a = watch( "a" );
   Ptr<Subject> const other = new Subject;
   a->notifierIs( other );
   EXPECT_EQ( a->notifier(), other );
   EXPECT_EQ( toldOfAChange(), "" );
   other->change();
   EXPECT_EQ( told, "a" );
}

TEST_F( NotifieeTest, ANotifierOfAnotherTypeCountsAsNone ) {
   auto const a = watch( "a" );
   a->notifierIs( Ptr<PtrInterface const>( new Stranger ) );
   EXPECT_FALSE( a->notifier() );
   EXPECT_EQ( toldOfAChange(), "" );
}

TEST_F( NotifieeTest, AnObserverHoldsItsNotifier ) {
   auto a = watch( "a" );
   EXPECT_EQ( subject->references(), 2 );
   Subject * const plain = subject.ptr();
   subject = nullptr;
   plain->change();
   EXPECT_EQ( told, "a" );
   a = nullptr;   // and takes it along
}

TEST_F( NotifieeTest, DestructionLeaves ) {
   auto a = watch( "a" );
   auto const b = watch( "b" );
   a = nullptr;
   EXPECT_EQ( toldOfAChange(), "b" );
   EXPECT_EQ( subject->references(), 2 );
}

TEST_F( NotifieeTest, RegistrationTakesOutOfTheListAndPutsBackAtItsEnd ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->isRegisteredNotifieeIs( true );
   EXPECT_EQ( toldOfAChange(), "ab" );
   a->isRegisteredNotifieeIs( false );
   EXPECT_FALSE( a->isRegisteredNotifiee() );
   EXPECT_EQ( a->notifier(), subject );
   EXPECT_EQ( toldOfAChange(), "b" );
   a->isRegisteredNotifieeIs( true );
   EXPECT_EQ( toldOfAChange(), "ba" );
}

TEST_F( NotifieeTest, ANotifierGivenWhileUnregisteredIsJoinedWithRegistration ) {
   Ptr<Watch> const a = new Watch( "a", told );
   a->isRegisteredNotifieeIs( false );
   a->notifierIs( subject );
   EXPECT_TRUE( subject->notifieeList()->empty() );
   a->isRegisteredNotifieeIs( true );
   EXPECT_EQ( toldOfAChange(), "a" );
}

TEST_F( NotifieeTest, OneThatIsSwitchedOffIsPassedOverAndKeepsItsPlace ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->hasNotificationActiveIs( false );
   EXPECT_EQ( toldOfAChange(), "b" );
   a->hasNotificationActiveIs( true );
   EXPECT_EQ( toldOfAChange(), "ab" );
}

TEST_F( NotifieeTest, AZombieIsPassedOver ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->vorZombieIs( true );
   EXPECT_FALSE( a->vorLive() );
   EXPECT_EQ( toldOfAChange(), "b" );
   a->vorZombieIs( false );
   EXPECT_EQ( toldOfAChange(), "ab" );
}

TEST_F( NotifieeTest, OneThatBecomesAZombieInTheVisitIsPassedOver ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->inOnChange = [&] { b->vorZombieIs( true ); };
   EXPECT_EQ( toldOfAChange(), "a" );
   b->vorZombieIs( false );
}

TEST_F( NotifieeTest, OneThatLeavesInTheVisitIsNotTold ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   auto const c = watch( "c" );
   a->inOnChange = [&] { b->notifierIs( nullptr ); };
   EXPECT_EQ( toldOfAChange(), "ac" );
}

TEST_F( NotifieeTest, OneThatJoinsInTheVisitWaitsForTheNextChange ) {
   auto const a = watch( "a" );
   Ptr<Watch> late;
   a->inOnChange = [&] {
      if ( !late ) late = watch( "b" );
   };
   EXPECT_EQ( toldOfAChange(), "a" );
   EXPECT_EQ( toldOfAChange(), "ab" );
}

TEST_F( NotifieeTest, OneThatJoinsAnewInTheVisitWaitsForTheNextChange ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->inOnChange = [&] {
      for ( auto const & watch : { a, b } ) {
         watch->notifierIs( nullptr );
         watch->notifierIs( subject );
      }
   };
   EXPECT_EQ( toldOfAChange(), "a" );
   a->inOnChange = nullptr;
   EXPECT_EQ( toldOfAChange(), "ab" );
}

TEST_F( NotifieeTest, ObserversMayDestroyEachOtherAndThemselves ) {
   auto a = watch( "a" );
   auto b = watch( "b" );
   auto c = watch( "c" );
   auto const d = watch( "d" );
   b->inOnChange = [&] { a = b = c = nullptr; };
   EXPECT_EQ( toldOfAChange(), "abd" );
   EXPECT_EQ( toldOfAChange(), "d" );
}

TEST_F( NotifieeTest, TheLastOneMayDestroyItself ) {
   auto const a = watch( "a" );
   auto b = watch( "b" );
   b->inOnChange = [&] { b = nullptr; };
   EXPECT_EQ( toldOfAChange(), "ab" );
   auto const c = watch( "c" );
   EXPECT_EQ( toldOfAChange(), "ac" );
}

TEST_F( NotifieeTest, ACallbackMayDropTheLastReferenceToTheNotifier ) {
   auto a = watch( "a" );
   auto b = watch( "b" );
   a->inOnChange = [&] {
      subject = nullptr;
      b = nullptr;
      a = nullptr;
   };
   Subject * const plain = subject.ptr();
   plain->change();
   EXPECT_EQ( told, "a" );
}

TEST_F( NotifieeTest, AChangeWithinAChangeIsANestedVisit ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   a->inOnChange = [&] {
      a->inOnChange = nullptr;
      subject->change();
   };
   EXPECT_EQ( toldOfAChange(), "aabb" );
}

TEST_F( NotifieeTest, LeavingInANestedVisitCountsForTheOuterOneToo ) {
   auto const a = watch( "a" );
   auto const b = watch( "b" );
   auto const c = watch( "c" );
   a->inOnChange = [&] {
      a->inOnChange = nullptr;
      c->inOnChange = [&] {
         b->notifierIs( nullptr );
         c->notifierIs( nullptr );
      };
      subject->change();
   };
   EXPECT_EQ( toldOfAChange(), "aabc" );
   EXPECT_EQ( toldOfAChange(), "a" );
}

TEST_F( NotifieeTest, ACallbackThatThrowsEndsTheVisitAndNothingElse ) {
   auto const a = watch( "a" );
   auto b = watch( "b" );
   a->inOnChange = [] { throw std::runtime_error( "lost" ); };
   EXPECT_THROW( toldOfAChange(), std::runtime_error );
   a->inOnChange = nullptr;
   EXPECT_EQ( toldOfAChange(), "ab" );
   b = nullptr;
   EXPECT_EQ( toldOfAChange(), "a" );
}

TEST_F( NotifieeTest, AListLetsItsMembersGo ) {
   Ptr<Watch> const a = new Watch( "a", told );
   Ptr<Watch> const b = new Watch( "b", told );
   {
      NotifieeList list;
      list.newMember( *a );
      list.newMember( *b );
      list.deleteMember( *b );
      list.newMember( *b );
   }
   NotifieeList other;
   other.newMember( *b );
   int visited = 0;
   other.doVisit( [&]( NotifieeBase & member ) {
      EXPECT_EQ( &member, b.ptr() );
      ++visited;
   } );
   EXPECT_EQ( visited, 1 );
}

template<class Observer, class Notifier>
constexpr bool takes = requires( Observer & observer, Ptr<Notifier> const & notifier ) {
   observer.notifierIs( notifier );
};

/// An observer with write access.
TEST( NotifieeOfTest, GivesTheNotifierForWriting ) {
   struct Derived : Subject {};
   class Writer : public NotifieeOf<Subject, Subject::NotifieeConst> {};
   static_assert( std::is_same_v<decltype( std::declval<Writer>().notifier() ), Ptr<Subject>> );
   static_assert( takes<Writer, Subject> && !takes<Writer, Subject const> && takes<Watch, Subject const> );
   Ptr<Subject> const subject = new Subject;
   Ptr<Writer> const writer = new Writer;
   writer->notifierIs( subject );
   EXPECT_EQ( writer->notifier(), subject );
   EXPECT_FALSE( subject->notifieeList()->empty() );
   writer->notifierIs( nullptr );
   EXPECT_FALSE( writer->notifier() );
   EXPECT_TRUE( subject->notifieeList()->empty() );
   Ptr<Derived> const derived = new Derived;
   writer->notifierIs( derived );
   EXPECT_EQ( writer->notifier(), derived );
}

}   // namespace
}   // namespace Vor
