#include "framework/Notifiee.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
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

/// Random joining, leaving, destroying, switching and nested visits, checked at each call against plain lists: that of
/// the members, and for each visit that of the joinings it began with.
class NotifieeModelTest : public testing::Test {
 protected:
   static constexpr int watchCount = 12;
   static constexpr int mostDepth = 4;

   class Member final : public Subject::NotifieeConst {
    public:
      Member( NotifieeModelTest & test, int id ) : test_( test ), id_( id ) {}
      void onChange() override { test_.onChange( id_ ); }

    private:
      NotifieeModelTest & test_;
      int id_;
   };

   struct Joining {
      int id;
      U64 serial;
   };
   using Joinings = std::vector<Joining>;

   int anyOf( int count ) { return std::uniform_int_distribution<int>( 0, count - 1 )( random ); }

   void forget( int id ) {
      auto const ofId = [id]( Joining const & joining ) { return joining.id == id; };
      std::erase_if( joined, ofId );
      for ( Joinings & visit : visits ) std::erase_if( visit, ofId );
   }

   void join( int id ) {
      if ( std::any_of( joined.begin(), joined.end(), [id]( Joining const & j ) { return j.id == id; } ) ) return;
      joined.push_back( { id, ++serial } );
   }

   void operation() {
      int const id = anyOf( watchCount );
      Ptr<Member> & member = members[static_cast<std::size_t>( id )];
      switch ( anyOf( 7 ) ) {
      case 0:   // destroyed, and another made in its place
         forget( id );
         member = new Member( *this, id );
         break;
      case 1:
         forget( id );
         member->notifierIs( nullptr );
         break;
      case 2:
         member->hasNotificationActiveIs( anyOf( 3 ) != 0 );
         break;
      case 3:
         member->vorZombieIs( anyOf( 4 ) == 0 );
         break;
      case 4: {
         bool const registered = anyOf( 2 ) != 0;
         if ( !registered )
            forget( id );
         else if ( member->notifier() )
            join( id );
         member->isRegisteredNotifieeIs( registered );
         break;
      }
      default:
         if ( member->isRegisteredNotifiee() ) join( id );
         member->notifierIs( subject );
      }
   }

   void passOverTheDead() {
      Joinings & visit = visits.back();
      while ( !visit.empty() && !members[static_cast<std::size_t>( visit.front().id )]->vorLive() )
         visit.erase( visit.begin() );
   }

   void onChange( int id ) {
      passOverTheDead();
      ASSERT_FALSE( visits.back().empty() ) << "observer " << id << " was told unexpectedly";
      ASSERT_EQ( visits.back().front().id, id );
      visits.back().erase( visits.back().begin() );
      ++told;
      for ( int i = anyOf( 4 ); i > 0; --i ) operation();
      if ( visits.size() < mostDepth && anyOf( 6 ) == 0 ) change();
   }

   void change() {
      visits.push_back( joined );
      subject->change();
      passOverTheDead();
      EXPECT_TRUE( visits.back().empty() ) << "observer " << visits.back().front().id << " was not told";
      visits.pop_back();
   }

   std::mt19937_64 random;
   Ptr<Subject> const subject = new Subject;
   std::vector<Ptr<Member>> members;
   Joinings joined;
   std::vector<Joinings> visits;
   U64 serial = 0;
   U64 told = 0;
};

TEST_F( NotifieeModelTest, RandomOperationsDoWhatPlainListsDo ) {
   U64 const firstSeed = std::random_device()();
   for ( U64 seed = firstSeed; seed < firstSeed + 30; ++seed ) {
      SCOPED_TRACE( testing::Message() << "seed " << seed );
      random.seed( seed );
      members.clear();
      joined.clear();
      for ( int id = 0; id < watchCount; ++id ) members.push_back( new Member( *this, id ) );
      for ( int i = 0; i < 1000; ++i ) {
         operation();
         if ( anyOf( 3 ) == 0 ) change();
         ASSERT_EQ( subject->notifieeList()->empty(), joined.empty() );
         if ( HasFailure() ) return;
      }
   }
   EXPECT_GT( told, 10'000u );
}

}   // namespace
}   // namespace Vor
