// Random joining, leaving, destroying, switching and nested changes, by observers of an entity while it tells them,
// checked at each call against plain lists: those of the members, and for each visit those it began with.
#include "tests/framework/Lamp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

namespace Test {
namespace {

using Vor::Ptr;

class EntityModelTest : public testing::Test {
 protected:
   static constexpr std::size_t memberCount = 12;
   static constexpr std::size_t mostDepth = 4;

   enum Kind { generic_, ofBase_, ofType_ };
   static Kind kind( std::size_t id ) { return static_cast<Kind>( id % 3 ); }

   struct OfAny final : Vor::EntityObserver {
      OfAny( EntityModelTest & t, std::size_t i ) : test( t ), id( i ) {}
      void onAttribute( Vor::Entity const &, Vor::Attribute const &, Vor::Value const & ) override { test.told( id ); }
      EntityModelTest & test;
      std::size_t id;
   };
   struct OfBase final : Lamp::NotifieeConst {
      OfBase( EntityModelTest & t, std::size_t i ) : test( t ), id( i ) {}
      void onBrightness() override { test.told( id ); }
      EntityModelTest & test;
      std::size_t id;
   };
   struct OfType final : DimmedLamp::NotifieeConst {
      OfType( EntityModelTest & t, std::size_t i ) : test( t ), id( i ) {}
      void onBrightness() override { test.told( id ); }
      void onDimmer() override { test.told( id ); }
      EntityModelTest & test;
      std::size_t id;
   };

   using Ids = std::vector<std::size_t>;

   /// A change that is being told: whom it still has to tell, first the generic observers, then those of the types.
   struct Change {
      bool ofBase;   // of an attribute that the base has already
      Ids generic;
      std::optional<Ids> ofTypes;   // listed once the generic ones have been told
   };

   std::size_t anyOf( std::size_t count ) {
      return std::uniform_int_distribution<std::size_t>( 0, count - 1 )( random );
   }

   void made( std::size_t id ) {
      members[id] = kind( id ) == generic_  ? Ptr<Vor::NotifieeBase>( new OfAny( *this, id ) )
                    : kind( id ) == ofBase_ ? Ptr<Vor::NotifieeBase>( new OfBase( *this, id ) )
                                            : Ptr<Vor::NotifieeBase>( new OfType( *this, id ) );
   }

   Ids & listOf( std::size_t id ) { return kind( id ) == generic_ ? generic : ofTypes; }

   void leaves( std::size_t id ) {
      std::erase( listOf( id ), id );
      for ( Change & change : changes ) {
         std::erase( change.generic, id );
         if ( change.ofTypes ) std::erase( *change.ofTypes, id );
      }
   }

   void joins( std::size_t id ) {
      Ids & list = listOf( id );
      if ( std::find( list.begin(), list.end(), id ) == list.end() ) list.push_back( id );
   }

   void operation() {
      std::size_t const id = anyOf( memberCount );
      Ptr<Vor::NotifieeBase> & member = members[id];
      switch ( anyOf( 7 ) ) {
      case 0:   // destroyed, and another made in its place
         leaves( id );
         made( id );
         break;
      case 1:
         leaves( id );
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
            leaves( id );
         else if ( member->vorNotifier() )
            joins( id );
         member->isRegisteredNotifieeIs( registered );
         break;
      }
      default:
         if ( member->isRegisteredNotifiee() ) joins( id );
         member->notifierIs( lamp );
      }
   }

   /// Takes those away from the front who are passed over; what is left in front is told next.
   Ids & next() {
      Change & change = changes.back();
      auto const passOver = [&]( Ids & ids ) {
         while ( !ids.empty() &&
                 ( !members[ids.front()]->vorLive() || ( kind( ids.front() ) == ofBase_ && !change.ofBase ) ) )
            ids.erase( ids.begin() );
      };
      passOver( change.generic );
      if ( !change.generic.empty() ) return change.generic;
      if ( !change.ofTypes ) change.ofTypes = ofTypes;
      passOver( *change.ofTypes );
      return *change.ofTypes;
   }

   void told( std::size_t id ) {
      Ids & ids = next();
      ASSERT_FALSE( ids.empty() ) << "observer " << id << " was told unexpectedly";
      ASSERT_EQ( ids.front(), id );
      ids.erase( ids.begin() );
      ++calls;
      for ( std::size_t i = anyOf( 4 ); i > 0; --i ) operation();
      if ( changes.size() < mostDepth && anyOf( 6 ) == 0 ) change();
   }

   void change() {
      bool const ofBase = anyOf( 2 ) != 0;
      changes.push_back( { ofBase, generic, std::nullopt } );
      if ( ofBase )
         lamp->brightnessIs( lamp->brightness() + 1 );
      else
         lamp->dimmerIs( lamp->dimmer() + 1 );
      EXPECT_TRUE( next().empty() ) << "observer " << next().front() << " was not told";
      changes.pop_back();
   }

   std::mt19937_64 random;
   Ptr<DimmedLamp> const lamp = new DimmedLamp( "dimmed" );
   std::vector<Ptr<Vor::NotifieeBase>> members{ memberCount };
   Ids generic;
   Ids ofTypes;
   std::vector<Change> changes;
   U64 calls = 0;
};

TEST_F( EntityModelTest, RandomOperationsDoWhatPlainListsDo ) {
   U64 const firstSeed = std::random_device()();
   for ( U64 seed = firstSeed; seed < firstSeed + 30; ++seed ) {
      SCOPED_TRACE( testing::Message() << "seed " << seed );
      random.seed( seed );
      for ( std::size_t id = 0; id < memberCount; ++id ) {
         leaves( id );
         made( id );
      }
      for ( int i = 0; i < 1000; ++i ) {
         operation();
         if ( anyOf( 3 ) == 0 ) change();
         ASSERT_EQ( lamp->observerList().empty(), generic.empty() );
         ASSERT_EQ( lamp->notifieeList()->empty(), ofTypes.empty() );
         if ( HasFailure() ) return;
      }
   }
   EXPECT_GT( calls, 10'000u );
}

}   // namespace
}   // namespace Test
