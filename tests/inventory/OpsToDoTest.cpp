// The queue of operations, as configuration and inventory record both carry it: one set of rules for both.
#include "hardware/Max24305Config.h"
#include "inventory/InvMax24305.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Hardware::Max24305::Config;
using Hardware::Max24305::Op;
using Hardware::Max24305::OpsToDoMetadata;
using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;

constexpr U32 lastIndex = 0xFFFFFFFF;

Ptr<Config> make( Config const * ) {
   return Hardware::Max24305::configFactory(
      "ptp0", Fru::GenerationId( 1 ), 0, 0, nullptr, "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::stuffedClock_, 0, Fru::SlotId( 0 ), false );
}
Ptr<Inventory::Max24305> make( Inventory::Max24305 const * ) { return Inventory::max24305Factory( "ptp0" ); }

Op op( U32 key ) { return { key, Hardware::Max24305::write_, 0x10, key }; }

template<class Entity> class OpsToDoTest : public testing::Test {
 protected:
   struct Watch final : Entity::NotifieeConst {
      void onOpsToDo( U32 index ) override {
         auto const element = this->notifier()->opsToDo().element( index );
         story.push_back(
            std::to_string( index ) + ( element ? "=" + std::to_string( element->value().key ) : " gone" ) );
         if ( auto const next = then ) next();
      }
      void onOpsToDo() override { story.push_back( "all" ); }
      void onOpsToDoMetadata() override {
         story.push_back( "metadata " + std::to_string( this->notifier()->opsToDoMetadata().nextIndex ) );
      }
      std::vector<std::string> story;
      std::function<void()> then;
   };
   void SetUp() override { watch->notifierIs( Ptr<Entity const>( entity ) ); }
   std::vector<U32> indexes() const { return entity->opsToDo().keys(); }
   template<class Step> void expectFull( Step && step ) {
      auto const before = indexes();
      watch->story.clear();
      try {
         step();
         ADD_FAILURE() << "nothing was thrown";
      } catch ( Vor::RangeException const & error ) {
         EXPECT_STREQ( error.what(), "linkqueue index space full" );
      }
      EXPECT_EQ( indexes(), before );
      EXPECT_THAT( watch->story, IsEmpty() );
   }

   Ptr<Entity> entity = make( static_cast<Entity const *>( nullptr ) );
   Ptr<Watch> watch = new Watch;
};

using Entities = testing::Types<Config, Inventory::Max24305>;
struct EntityNames {
   template<class Entity> static std::string GetName( int ) {
      return std::is_same_v<Entity, Config> ? "Config" : "InventoryRecord";
   }
};
TYPED_TEST_SUITE( OpsToDoTest, Entities, EntityNames );

TYPED_TEST( OpsToDoTest, EnqueuedOperationsStandThereAsTheyAreTold ) {
   for ( U32 key = 50; key < 53; ++key ) this->entity->opsToDoEnq( op( key ) );
   EXPECT_THAT( this->watch->story, ElementsAre( "0=50", "1=51", "2=52" ) );
}

TYPED_TEST( OpsToDoTest, DequeuingGivesTheHeadAndTellsOfItAsGone ) {
   for ( U32 key = 50; key < 53; ++key ) this->entity->opsToDoEnq( op( key ) );
   this->watch->story.clear();
   EXPECT_EQ( this->entity->opsToDoDeq(), op( 50 ) );
   EXPECT_EQ( this->entity->opsToDoDeq(), op( 51 ) );
   EXPECT_EQ( this->entity->opsToDoDeq(), op( 52 ) );
   EXPECT_THAT( this->watch->story, ElementsAre( "0 gone", "1 gone", "2 gone" ) );
}

TYPED_TEST( OpsToDoTest, DequeuingAnEmptyQueueIsSilentAndChangesNothing ) {
   this->entity->opsToDoEnq( op( 50 ) );
   this->entity->opsToDoDeq();
   this->watch->story.clear();
   EXPECT_EQ( this->entity->opsToDoDeq(), Op() );
   EXPECT_THAT( this->watch->story, IsEmpty() );
   EXPECT_EQ( this->entity->opsToDo().nextIndex(), 1u );
}

TYPED_TEST( OpsToDoTest, IndexesSurviveEmptying ) {
   for ( U32 key = 0; key < 3; ++key ) this->entity->opsToDoEnq( op( key ) );
   this->entity->opsToDoDelAll();
   this->entity->opsToDoEnq( op( 3 ) );
   EXPECT_THAT( this->indexes(), ElementsAre( 3 ) );
}

TYPED_TEST( OpsToDoTest, AnOperationPlacedAtTenIsFollowedByEleven ) {
   this->entity->opsToDoIs( 10, op( 50 ) );
   this->entity->opsToDoEnq( op( 51 ) );
   EXPECT_THAT( this->watch->story, ElementsAre( "10=50", "11=51" ) );
   this->entity->opsToDoIs( 4, op( 52 ) );
   this->entity->opsToDoEnq( op( 53 ) );
   EXPECT_THAT( this->indexes(), ElementsAre( 4, 10, 11, 12 ) );
}

TYPED_TEST( OpsToDoTest, ReplacingTellsAlsoOfAnEqualValue ) {
   this->entity->opsToDoEnq( op( 50 ) );
   this->entity->opsToDoIs( 0, op( 51 ) );
   this->entity->opsToDoIs( 0, op( 51 ) );
   EXPECT_THAT( this->watch->story, ElementsAre( "0=50", "0=51", "0=51" ) );
   EXPECT_EQ( this->entity->opsToDo().nextIndex(), 1u );
}

TYPED_TEST( OpsToDoTest, RemovingTellsIfThereWasAnything ) {
   this->entity->opsToDoIs( 7, op( 50 ) );
   this->watch->story.clear();
   this->entity->opsToDoDel( 6 );
   this->entity->opsToDoDel( 7 );
   this->entity->opsToDoDel( 7 );
   EXPECT_THAT( this->watch->story, ElementsAre( "7 gone" ) );
}

TYPED_TEST( OpsToDoTest, AWalkMayRemoveWhereItStands ) {
   for ( U32 key = 0; key < 4; ++key ) this->entity->opsToDoEnq( op( key ) );
   this->watch->story.clear();
   auto const & queue = this->entity->opsToDo();
   for ( auto place = queue.begin(); place != queue.end(); ++place )
      if ( place->index() % 2 ) this->entity->opsToDoDel( place );
   EXPECT_THAT( this->watch->story, ElementsAre( "1 gone", "3 gone" ) );
   EXPECT_THAT( this->indexes(), ElementsAre( 0, 2 ) );
}

TYPED_TEST( OpsToDoTest, RemovingAllGoesFromTheHeadTellingOfEach ) {
   for ( U32 const index : { 9u, 2u, 5u } ) this->entity->opsToDoIs( index, op( index ) );
   this->watch->story.clear();
   this->entity->opsToDoDelAll();
   EXPECT_THAT( this->watch->story, ElementsAre( "2 gone", "5 gone", "9 gone" ) );
   this->entity->opsToDoDelAll();
   EXPECT_EQ( this->watch->story.size(), 3u );
}

TYPED_TEST( OpsToDoTest, WhatAnObserverEnqueuesWhileAllAreRemovedStays ) {
   for ( U32 key = 0; key < 3; ++key ) this->entity->opsToDoEnq( op( key ) );
   this->watch->then = [this] {
      this->watch->then = nullptr;
      this->entity->opsToDoEnq( op( 99 ) );
      this->entity->opsToDoDel( 1 );
   };
   this->entity->opsToDoDelAll();
   EXPECT_THAT( this->indexes(), ElementsAre( 3 ) );
}

TYPED_TEST( OpsToDoTest, EachOfAllIsRemovedOnceAlsoWhereAnObserverPutsItBack ) {
   for ( U32 const index : { 9u, 2u, 5u } ) this->entity->opsToDoIs( index, op( index ) );
   this->watch->story.clear();
   this->watch->then = [this] {
      // At each removal the operation is put back, which is told as well.
      U32 const index = static_cast<U32>( std::stoul( this->watch->story.back() ) );
      if ( !this->entity->opsToDo().element( index ) ) this->entity->opsToDoIs( index, op( index + 50 ) );
   };
   this->entity->opsToDoDelAll();
   EXPECT_THAT( this->watch->story, ElementsAre( "2 gone", "2=52", "5 gone", "5=55", "9 gone", "9=59" ) );
   EXPECT_THAT( this->indexes(), ElementsAre( 2, 5, 9 ) );
}

TYPED_TEST( OpsToDoTest, WhatAnObserverPutsInPlaceOfAnotherWhileAllAreRemovedGoesAndWhatItPutsAnewStays ) {
   for ( U32 key = 0; key < 3; ++key ) this->entity->opsToDoEnq( op( key ) );
   this->watch->then = [this] {
      this->watch->then = nullptr;
      this->entity->opsToDoIs( 1, op( 51 ) );
      this->entity->opsToDoDel( 2 );
      this->entity->opsToDoIs( 2, op( 52 ) );
   };
   this->entity->opsToDoDelAll();
   EXPECT_THAT( this->indexes(), ElementsAre( 2 ) );
   EXPECT_EQ( this->entity->opsToDo().value( 2 ), op( 52 ) );
}

TYPED_TEST( OpsToDoTest, AnObserverMayDropTheEntityWhileAllAreRemoved ) {
   for ( U32 key = 0; key < 3; ++key ) this->entity->opsToDoEnq( op( key ) );
   TypeParam * const plain = this->entity.ptr();
   this->entity = nullptr;
   this->watch->then = [this] { this->watch->notifierIs( nullptr ); };
   plain->opsToDoDelAll();
   EXPECT_EQ( TypeParam::staticType().allocated(), 0u );
}

TYPED_TEST( OpsToDoTest, AFullIndexSpaceChangesNothingAndTellsNobody ) {
   this->entity->opsToDoEnq( op( 0 ) );
   this->expectFull( [this] { this->entity->opsToDoIs( lastIndex, op( 1 ) ); } );
   this->entity->opsToDoDel( 0 );
   this->entity->opsToDoIs( 5, op( 5 ) );
   this->entity->opsToDoIs( lastIndex, op( 1 ) );
   this->entity->opsToDoEnq( op( 2 ) );
   EXPECT_THAT( this->indexes(), ElementsAre( 0, 5, lastIndex ) );
   this->expectFull( [this] { this->entity->opsToDoEnq( op( 3 ) ); } );
   this->entity->opsToDoIs( lastIndex, op( 4 ) );   // replacing needs no space
   EXPECT_EQ( this->entity->opsToDo().value( lastIndex ), op( 4 ) );
}

TYPED_TEST( OpsToDoTest, MetadataAreToldAlsoWhenEqualAndChangeByTheirSetterAlone ) {
   this->entity->opsToDoMetadataIs( OpsToDoMetadata( 0, 0 ) );
   this->entity->opsToDoMetadataIs( OpsToDoMetadata( 3, 7 ) );
   this->entity->opsToDoMetadataIs( OpsToDoMetadata( 3, 7 ) );
   EXPECT_THAT( this->watch->story, ElementsAre( "metadata 0", "metadata 7", "metadata 7" ) );
   this->entity->opsToDoEnq( op( 50 ) );
   EXPECT_EQ( this->entity->opsToDoMetadata(), OpsToDoMetadata( 3, 7 ) );
   EXPECT_NE( OpsToDoMetadata( 3, 7 ), OpsToDoMetadata( 4, 7 ) );
   EXPECT_NE( OpsToDoMetadata( 3, 7 ), OpsToDoMetadata( 3, 8 ) );
   static_assert( std::is_same_v<typename TypeParam::OpsToDoMetadata, OpsToDoMetadata> );
}

TYPED_TEST( OpsToDoTest, ReadingTheQueue ) {
   EXPECT_EQ( this->entity->opsToDoHead(), nullptr );
   this->entity->opsToDoIs( 4, op( 50 ) );
   this->entity->opsToDoEnq( op( 51 ) );
   EXPECT_EQ( this->entity->opsToDoHead()->value(), op( 50 ) );
   EXPECT_EQ( this->entity->opsToDo().value( 5 ), op( 51 ) );
   EXPECT_EQ( this->entity->opsToDo().value( 6 ), Op() );
   EXPECT_EQ( this->entity->opsToDo().count(), 2u );
   std::vector<U32> keys;
   for ( auto const & element : this->entity->opsToDo() ) keys.push_back( element.value().key );
   EXPECT_THAT( keys, ElementsAre( 50, 51 ) );
}

TYPED_TEST( OpsToDoTest, TheElementKeepsACopyOfTheOperation ) {
   Op mine = op( 50 );
   this->entity->opsToDoEnq( mine );
   mine.value = 1;
   EXPECT_EQ( this->entity->opsToDo().value( 0 ), op( 50 ) );
}

TEST( OpsToDoMetadataText, IsReadBack ) {
   OpsToDoMetadata const metadata( 4294967295, 0 );
   Vor::String const text = valueToStrep( metadata );
   EXPECT_EQ( text, "OpsToDoMetadata(4294967295, 0)" );
   auto pos = text.begin();
   EXPECT_EQ( OpsToDoMetadata( pos, text.end() ), metadata );
   EXPECT_EQ( pos, text.end() );
}

}   // namespace
