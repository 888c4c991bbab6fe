#include "framework/HashMap.h"

#include "framework/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>

namespace Vor {
namespace {

TEST( HashMap, AnAbsentKeyGivesADefaultValue ) {
   HashMap2018<U32> const map;
   EXPECT_FALSE( map.has( 8 ) );
   EXPECT_EQ( map.value( 8 ), 0u );
   EXPECT_EQ( map.count(), 0u );
}

TEST( HashMap, SettingTellsWhetherTheMapDiffersAfterwards ) {
   HashMap2018<U32> map;
   EXPECT_TRUE( map.valueIs( 7, 0 ) );   // a default value is a value
   EXPECT_TRUE( map.has( 7 ) );
   EXPECT_FALSE( map.valueIs( 7, 0 ) );
   EXPECT_TRUE( map.valueIs( 7, 0x11 ) );
   EXPECT_EQ( map.value( 7 ), 0x11u );
   EXPECT_EQ( map.count(), 1u );
}

TEST( HashMap, RemovingGivesTheValueThatWasThere ) {
   HashMap<Name, String> map;
   map.valueIs( "a", "first" );
   EXPECT_EQ( map.valueDel( "a" ), "first" );
   EXPECT_EQ( map.valueDel( "a" ), "" );
   EXPECT_FALSE( map.has( "a" ) );
}

TEST( HashMap, TheOrderOfTheKeysIsThatOfTheWalk ) {
   HashMap<Name, U32> map;
   for ( U32 i = 0; i < 20; ++i ) map.valueIs( format( "key%u", i ), i );
   std::vector<Name> walked;
   for ( auto const & [key, value] : map ) {
      walked.push_back( key );
      EXPECT_EQ( map.value( key ), value );
   }
   EXPECT_EQ( walked, map.keys() );
   EXPECT_EQ( walked.size(), 20u );
}

TEST( HashMap, KeysAtBothEndsOfTheRange ) {
   HashMap2018<bool> map;
   map.valueIs( 0, true );
   map.valueIs( 0xFFFFFFFF, true );
   EXPECT_THAT( map.keys(), testing::UnorderedElementsAre( 0u, 0xFFFFFFFFu ) );
}

TEST( HashMap, RandomOperationsAgreeWithAnOrderedMap ) {
   auto const seed = std::random_device{}();
   SCOPED_TRACE( "seed " + std::to_string( seed ) );
   std::mt19937 random( seed );
   HashMap2018<U32> map( 1 );
   std::map<U32, U32> model;
   for ( int step = 0; step < 20000; ++step ) {
      U32 const key = random() % 64;
      U32 const value = random() % 3;
      if ( random() % 2 ) {
         bool const differs = !model.contains( key ) || model[key] != value;
         ASSERT_EQ( map.valueIs( key, value ), differs );
         model[key] = value;
      } else {
         ASSERT_EQ( map.valueDel( key ), model.contains( key ) ? model[key] : 0 );
         model.erase( key );
      }
      ASSERT_EQ( map.count(), model.size() );
   }
   for ( U32 key = 0; key < 64; ++key ) EXPECT_EQ( map.has( key ), model.contains( key ) ) << key;
}

}   // namespace
}   // namespace Vor
