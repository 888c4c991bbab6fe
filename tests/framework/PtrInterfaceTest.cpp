#include "framework/PtrInterface.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <new>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace Vor {
namespace {

/// Counts those that live.
class Thing : public PtrInterface {
 public:
   explicit Thing( std::atomic<int> & living ) : living_( living ) { ++living_; }
   ~Thing() override { --living_; }

 private:
   std::atomic<int> & living_;
};
class Derived : public Thing {
 public:
   using Thing::Thing;
};
/// Its PtrInterface does not stand at its beginning.
struct Aside {
   virtual ~Aside() = default;
   int padding = 0;
};
class Sideways final : public Aside, public Thing {
 public:
   using Thing::Thing;
};

static_assert( !std::is_copy_constructible_v<Thing> && !std::is_copy_assignable_v<Thing> );
// Read-only access stays read-only, and nothing goes down the hierarchy, to a number or to an unrelated type by itself.
static_assert( std::is_convertible_v<Ptr<Thing>, Ptr<Thing const>> );
static_assert( !std::is_convertible_v<Ptr<Thing const>, Ptr<Thing>> );
static_assert( !std::is_constructible_v<Ptr<Thing>, Ptr<Thing const>> );
static_assert( !std::is_constructible_v<Ptr<Thing>, Thing const *> );
static_assert( std::is_convertible_v<Ptr<Derived>, Ptr<Thing>> );
static_assert( std::is_convertible_v<Ptr<Derived>, Ptr<PtrInterface const>> );
static_assert( !std::is_constructible_v<Ptr<Derived>, Ptr<Thing>> );
static_assert( !std::is_constructible_v<Ptr<Derived>, Ptr<Sideways>> );
static_assert( !std::is_convertible_v<Ptr<Thing>, bool> && !std::is_convertible_v<Ptr<Thing>, Thing *> );
static_assert( std::is_same_v<decltype( *std::declval<Ptr<Thing const>>() ), Thing const &> );
static_assert( std::is_same_v<decltype( std::declval<Ptr<Thing const> const>().operator->() ), Thing const *> );
static_assert( std::is_nothrow_move_constructible_v<Ptr<Thing>> && std::is_nothrow_move_assignable_v<Ptr<Thing>> );
static_assert( sizeof( Ptr<Thing> ) == sizeof( Thing * ) );

struct PlainCounts {
   static constexpr bool threadSafe = false;
};
struct AtomicCounts {
   static constexpr bool threadSafe = true;
};

/// Everything holds for both flavours.
template<class Flavour> class PtrTest : public testing::Test {
 protected:
   PtrTest() { threadSafePtrsIs( Flavour::threadSafe ); }
   ~PtrTest() override { threadSafePtrsIs( false ); }

   std::atomic<int> living = 0;
};
using Flavours = testing::Types<PlainCounts, AtomicCounts>;
TYPED_TEST_SUITE( PtrTest, Flavours );

TYPED_TEST( PtrTest, TheSwitchIsAsThrown ) { EXPECT_EQ( threadSafePtrs(), TypeParam::threadSafe ); }

TYPED_TEST( PtrTest, AnObjectStartsAtZeroAndLivesFromItsFirstPtrToItsLast ) {
   Thing * const plain = new Thing( this->living );
   EXPECT_EQ( plain->references(), 0 );
   {
      Ptr<Thing> const first = plain;
      EXPECT_EQ( plain->references(), 1 );
      {
         Ptr<Thing const> const second = first;
         EXPECT_EQ( plain->references(), 2 );
      }
      EXPECT_EQ( plain->references(), 1 );
      EXPECT_EQ( this->living, 1 );
   }
   EXPECT_EQ( this->living, 0 );
}

TYPED_TEST( PtrTest, CopiesCountAndMovesDoNot ) {
   Ptr<Thing> a = new Thing( this->living );
   Ptr<Thing> b = a;
   EXPECT_EQ( a->references(), 2 );
   Ptr<Thing> c = std::move( a );
   EXPECT_EQ( c->references(), 2 );
   EXPECT_FALSE( a );
   a = std::move( c );
   EXPECT_EQ( a->references(), 2 );
   EXPECT_FALSE( c );
   c = a;
   EXPECT_EQ( a->references(), 3 );
   c = nullptr;
   b = nullptr;
   EXPECT_EQ( a->references(), 1 );
}

TYPED_TEST( PtrTest, AssignmentDropsWhatStoodThere ) {
   Ptr<Thing> a = new Thing( this->living );
   a = new Derived( this->living );
   EXPECT_EQ( this->living, 1 );
   Ptr<Derived> const derived = new Derived( this->living );
   a = derived;
   EXPECT_EQ( this->living, 1 );
   EXPECT_EQ( a, derived );
}

TYPED_TEST( PtrTest, AssigningToItselfKeepsTheObject ) {
   Ptr<Thing> a = new Thing( this->living );
   Ptr<Thing> & same = a;
   a = same;
   EXPECT_EQ( a->references(), 1 );
   a = std::move( same );
   EXPECT_EQ( a->references(), 1 );
   a = a.ptr();
   EXPECT_EQ( a->references(), 1 );
}

/// A list whose assignment drops the very Ptr assigned from.
TYPED_TEST( PtrTest, AssigningFromInsideWhatIsDroppedIsSafe ) {
   struct Node : Thing {
      using Thing::Thing;
      Ptr<Node> next;
   };
   Ptr<Node> list = new Node( this->living );
   list->next = new Node( this->living );
   list = list->next;
   EXPECT_EQ( this->living, 1 );
   EXPECT_EQ( list->references(), 1 );
}

TYPED_TEST( PtrTest, EmptyPtrs ) {
   Ptr<Thing> const byDefault;
   Ptr<Thing> const fromNull = nullptr;
   Ptr<Thing> const fromPointer = static_cast<Thing *>( nullptr );
   Ptr<Thing const> const converted = byDefault;
   EXPECT_FALSE( byDefault );
   EXPECT_FALSE( fromNull );
   EXPECT_FALSE( fromPointer );
   EXPECT_FALSE( converted );
   EXPECT_EQ( byDefault, nullptr );
   EXPECT_EQ( byDefault.ptr(), nullptr );
   EXPECT_EQ( byDefault, converted );
}

TYPED_TEST( PtrTest, ComparesByIdentity ) {
   Ptr<Thing> const a = new Thing( this->living );
   Ptr<Thing const> const same = a;
   Ptr<Thing> const other = new Thing( this->living );
   EXPECT_TRUE( a == same );
   EXPECT_TRUE( a != other );
   EXPECT_TRUE( a != nullptr );
   EXPECT_EQ( std::hash<Ptr<Thing>>()( a ), std::hash<Ptr<Thing>>()( Ptr<Thing>( a ) ) );
   EXPECT_EQ( std::unordered_set<Ptr<Thing>>( { a, other, a } ).size(), 2u );
}

TYPED_TEST( PtrTest, AnObjectIsTheSameSeenAsItsBase ) {
   Ptr<Sideways> const object = new Sideways( this->living );
   Ptr<PtrInterface const> const asBase = object;
   ASSERT_NE( static_cast<void const *>( object.ptr() ), static_cast<void const *>( asBase.ptr() ) );
   EXPECT_TRUE( object == asBase );
   EXPECT_TRUE( asBase == object );
   EXPECT_EQ( object->references(), 2 );
}

TYPED_TEST( PtrTest, CastsAreChecked ) {
   Ptr<Thing> const thing = new Thing( this->living );
   Ptr<Thing> const derived = new Derived( this->living );
   EXPECT_FALSE( ptrCast<Derived>( thing ) );
   EXPECT_EQ( ptrCast<Derived>( derived ), derived );
   EXPECT_EQ( ptrCast<Derived const>( derived ), derived );
   EXPECT_FALSE( ptrCast<Derived>( Ptr<Thing>() ) );
   Ptr<PtrInterface> const sideways = new Sideways( this->living );
   EXPECT_TRUE( ptrCast<Sideways>( sideways ) );
   EXPECT_EQ( derived->references(), 1 );
}

TYPED_TEST( PtrTest, APtrToThisInAConstructorDestroysTheObject ) {
   struct Hasty : Thing {
      Hasty( std::atomic<int> & living, int & livingAfterwards ) : Thing( living ) {
         { Ptr<Hasty> const self = this; }
         livingAfterwards = living;
      }
      // Its constructor goes on in memory that must still be there.
      static void operator delete( void * ) {}
   };
   int livingAfterwards = -1;
   alignas( Hasty ) std::array<std::byte, sizeof( Hasty )> storage;
   ::new ( storage.data() ) Hasty( this->living, livingAfterwards );
   EXPECT_EQ( livingAfterwards, 0 );
}

TYPED_TEST( PtrTest, PtrsMadeByADestructorNeitherReviveNorDestroyAgain ) {
   struct Talkative : Thing {
      using Thing::Thing;
      ~Talkative() override {
         for ( int i = 0; i < 3; ++i ) {
            Ptr<Talkative> const self = this;
            Ptr<Talkative const> const again = self;
            EXPECT_TRUE( vorZombie() );
         }
      }
   };
   { Ptr<Thing> const thing = new Talkative( this->living ); }
   EXPECT_EQ( this->living, 0 );
}

TYPED_TEST( PtrTest, TheZeroReferenceHandlerMayKeepTheObject ) {
   struct Kept : Thing {
      using Thing::Thing;
      void zeroReferencesIs( bool zero ) override {
         EXPECT_TRUE( zero );
         ++atZero;
         if ( atZero == 2 ) Thing::zeroReferencesIs( zero );
      }
      int atZero = 0;
   };
   Kept * const kept = new Kept( this->living );
   { Ptr<Thing> const first = kept; }
   EXPECT_EQ( kept->atZero, 1 );
   EXPECT_EQ( this->living, 1 );
   { Ptr<Thing const> const second = kept; }
   EXPECT_EQ( this->living, 0 );
}

TYPED_TEST( PtrTest, AZombieKeepsItsCountAndDiesWithItsLastPtr ) {
   Ptr<Thing> a = new Thing( this->living );
   Ptr<Thing> b = a;
   EXPECT_FALSE( a->vorZombie() );
   a->vorZombieIs( true );
   EXPECT_TRUE( a->vorZombie() );
   EXPECT_LT( a->references(), 0 );
   a->vorZombieIs( true );   // once is enough
   a->vorZombieIs( false );
   EXPECT_FALSE( a->vorZombie() );
   EXPECT_EQ( a->references(), 2 );
   a->vorZombieIs( false );
   EXPECT_EQ( a->references(), 2 );

   a->vorZombieIs( true );
   b = nullptr;
   EXPECT_EQ( this->living, 1 );
   Ptr<Thing> const c = a;
   a->vorZombieIs( false );
   EXPECT_EQ( a->references(), 2 );
}

TYPED_TEST( PtrTest, AZombieWithOnePtrIsDestroyedOnce ) {
   Ptr<Thing> a = new Thing( this->living );
   a->vorZombieIs( true );
   a = nullptr;
   EXPECT_EQ( this->living, 0 );
}

TYPED_TEST( PtrTest, AnObjectBeingDestroyedIsAZombie ) {
   struct Asked : Thing {
      Asked( std::atomic<int> & living, bool & zombie ) : Thing( living ), zombie( zombie ) {}
      ~Asked() override { zombie = vorZombie(); }
      bool & zombie;
   };
   bool zombie = false;
   { Ptr<Thing> const asked = new Asked( this->living, zombie ); }
   EXPECT_TRUE( zombie );
}

TYPED_TEST( PtrTest, AnObjectWithoutObserversHasNoList ) {
   Ptr<Thing> const thing = new Thing( this->living );
   EXPECT_EQ( thing->notifieeList(), nullptr );
   thing->hasNotificationActiveIs( false );
}

TYPED_TEST( PtrTest, ALongChainIsDestroyed ) {
   struct Node : Thing {
      using Thing::Thing;
      Ptr<Node> next;
   };
   Ptr<Node> head;
   for ( int i = 0; i < 1000; ++i ) {
      Ptr<Node> node = new Node( this->living );
      node->next = std::move( head );
      head = std::move( node );
   }
   EXPECT_EQ( this->living, 1000 );
   head = nullptr;
   EXPECT_EQ( this->living, 0 );
}

template<class Flavour> using PtrDeathTest = PtrTest<Flavour>;
TYPED_TEST_SUITE( PtrDeathTest, Flavours );

TYPED_TEST( PtrDeathTest, FollowingAnEmptyPtrStopsTheProcess ) {
   struct Valued : PtrInterface {
      int value = 0;
   };
   Ptr<Valued> const empty;
   EXPECT_DEATH( empty->value = 1, "PtrInterface:[0-9]+: .*Vor::Ptr<.*>::operator.*: Assertion `object_' failed\\." );
   EXPECT_DEATH( static_cast<void>( *empty ), "Assertion `object_' failed\\." );
}

/// Threads that share objects, for the thread sanitizer as much as for the counts.
class PtrThreadsTest : public testing::Test {
 protected:
   PtrThreadsTest() { threadSafePtrsIs( true ); }
   ~PtrThreadsTest() override { threadSafePtrsIs( false ); }

   template<class Work> void inThreads( Work const & work ) {
      std::vector<std::thread> threads;
      for ( int i = 0; i < 4; ++i ) threads.emplace_back( work );
      for ( std::thread & thread : threads ) thread.join();
   }

   std::atomic<int> living = 0;
};

TEST_F( PtrThreadsTest, CopyingAndDroppingLosesNoCount ) {
   Ptr<Thing> const shared = new Thing( living );
   inThreads( [&shared] {
      std::vector<Ptr<Thing const>> copies( 16 );
      for ( std::size_t i = 0; i < 20'000; ++i ) copies[i % copies.size()] = shared;
   } );
   EXPECT_EQ( shared->references(), 1 );
   EXPECT_EQ( living, 1 );
}

TEST_F( PtrThreadsTest, WhoeverDropsTheLastPtrDestroysTheObjectOnce ) {
   for ( int round = 0; round < 200; ++round ) {
      struct Filled : Thing {
         using Thing::Thing;
         ~Filled() override { EXPECT_EQ( value, 4 ); }
         std::atomic<int> written = 0;
         int value = 0;   // plain: what a thread wrote before it let go is there for the destructor
      };
      Ptr<Filled> first = new Filled( living );
      std::vector<std::thread> threads;
      for ( int i = 0; i < 4; ++i )
         threads.emplace_back( [own = first]() mutable {
            if ( ++own->written == 4 ) own->value = 4;
            own = nullptr;
         } );
      first = nullptr;
      for ( std::thread & thread : threads ) thread.join();
      ASSERT_EQ( living, 0 );
   }
}

}   // namespace
}   // namespace Vor
