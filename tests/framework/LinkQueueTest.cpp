#include "framework/LinkQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>

namespace Vor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Queue = LinkQueue<std::string>;

constexpr U32 lastIndex = 0xFFFFFFFF;

std::vector<U32> indexes( Queue const & queue ) {
   std::vector<U32> walked;
   for ( auto const & element : queue ) walked.push_back( element.index() );
   return walked;
}

/// Runs the step, which must find the index space used up and change nothing.
template<class Step> void expectFull( Queue & queue, Step && step ) {
   auto const keys = queue.keys();
   U32 const next = queue.nextIndex();
   try {
      step();
      ADD_FAILURE() << "nothing was thrown";
   } catch ( RangeException const & error ) {
      EXPECT_STREQ( error.what(), "linkqueue index space full" );
   }
   EXPECT_EQ( queue.keys(), keys );
   EXPECT_EQ( queue.nextIndex(), next );
}

TEST( LinkQueue, ANewOneIsEmpty ) {
   Queue const queue;
   EXPECT_TRUE( queue.empty() );
   EXPECT_EQ( queue.count(), 0u );
   EXPECT_EQ( queue.nextIndex(), 0u );
   EXPECT_EQ( queue.head(), nullptr );
   EXPECT_EQ( queue.tail(), nullptr );
   EXPECT_EQ( queue.element( 0 ), nullptr );
   EXPECT_EQ( queue.value( 0 ), "" );
   EXPECT_THAT( indexes( queue ), IsEmpty() );
}

TEST( LinkQueue, IndexesAreConsecutiveAndNotUsedAgain ) {
   Queue queue;
   EXPECT_EQ( queue.enq( "a" ), 0u );
   EXPECT_EQ( queue.enq( "b" ), 1u );
   EXPECT_EQ( queue.enq( "c" ), 2u );
   while ( !queue.empty() ) queue.valueDel( queue.head()->index() );
   EXPECT_EQ( queue.enq( "d" ), 3u );
}

TEST( LinkQueue, TheIndexOfARemovedTailIsNotUsedAgain ) {
   Queue queue;
   queue.enq( "a" );
   queue.enq( "b" );
   EXPECT_TRUE( queue.valueDel( 1 ) );
   EXPECT_EQ( queue.enq( "c" ), 2u );
}

TEST( LinkQueue, ElementsStandInTheOrderOfTheirIndexes ) {
   Queue queue;
   for ( U32 const index : { 7u, 2u, 9u, 0u, 5u } ) queue.valueIs( index, std::to_string( index ) );
   EXPECT_THAT( indexes( queue ), ElementsAre( 0, 2, 5, 7, 9 ) );
   EXPECT_THAT( queue.keys(), ElementsAre( 0, 2, 5, 7, 9 ) );
   EXPECT_EQ( queue.head()->value(), "0" );
   EXPECT_EQ( queue.tail()->value(), "9" );
   EXPECT_EQ( queue.value( 5 ), "5" );
   EXPECT_EQ( queue.element( 6 ), nullptr );
}

TEST( LinkQueue, PlacingFromTheCounterOnMovesIt ) {
   Queue queue;
   queue.valueIs( 10, "k" );
   EXPECT_EQ( queue.nextIndex(), 11u );
   EXPECT_EQ( queue.enq( "l" ), 11u );
}

TEST( LinkQueue, PlacingBelowTheCounterLeavesIt ) {
   Queue queue;
   queue.valueIs( 10, "k" );
   queue.valueIs( 3, "d" );
   EXPECT_EQ( queue.nextIndex(), 11u );
   queue.valueDel( 10 );
   EXPECT_EQ( queue.enq( "l" ), 11u );
   queue.valueIs( 12, "m" );   // at the counter, not above it
   EXPECT_EQ( queue.nextIndex(), 13u );
}

TEST( LinkQueue, ReplacingKeepsTheElementAndTheCounter ) {
   Queue queue;
   queue.valueIs( 4, "old" );
   auto const element = queue.element( 4 );
   queue.valueIs( 4, "new" );
   EXPECT_EQ( queue.count(), 1u );
   EXPECT_EQ( queue.nextIndex(), 5u );
   EXPECT_EQ( queue.element( 4 ), element );
   EXPECT_EQ( element->value(), "new" );
}

TEST( LinkQueue, AnElementOutlivesItsPlace ) {
   Queue queue;
   queue.enq( "a" );
   auto const head = queue.head();
   queue.valueDel( 0 );
   EXPECT_EQ( head->index(), 0u );
   EXPECT_EQ( head->value(), "a" );
   EXPECT_EQ( head->references(), 1 );
}

TEST( LinkQueue, RemovingAnAbsentIndexDoesNothing ) {
   Queue queue;
   EXPECT_FALSE( queue.valueDel( 0 ) );
   queue.enq( "a" );
   EXPECT_FALSE( queue.valueDel( 1 ) );
   EXPECT_EQ( queue.count(), 1u );
}

// The end of the index space.

TEST( LinkQueue, TheLastIndexBesideIndexZeroIsFull ) {
   Queue queue;
   queue.enq( "a" );
   expectFull( queue, [&] { queue.valueIs( lastIndex, "z" ); } );   // the counter would come round to the head
}

TEST( LinkQueue, TheLastIndexBesideAnotherHeadLeavesRoomBelowIt ) {
   Queue queue;
   queue.valueIs( 5, "f" );
   queue.valueIs( lastIndex, "z" );
   EXPECT_EQ( queue.nextIndex(), 0u );
   EXPECT_EQ( queue.enq( "a" ), 0u );   // behind the tail is index 0
   EXPECT_EQ( queue.nextIndex(), 1u );
   EXPECT_THAT( indexes( queue ), ElementsAre( 0, 5, lastIndex ) );
   // The tail is still the last index, and the one behind it is taken now.
   expectFull( queue, [&] { queue.enq( "b" ); } );
   queue.valueDel( lastIndex );
   EXPECT_EQ( queue.enq( "b" ), 6u );   // behind the new tail
}

TEST( LinkQueue, TheIndexBelowTheHeadIsFullAfterComingRound ) {
   Queue queue;
   queue.valueIs( 5, "f" );
   queue.valueIs( lastIndex, "z" );
   expectFull( queue, [&] { queue.valueIs( 4, "e" ); } );
   queue.valueIs( 3, "d" );
   EXPECT_EQ( queue.nextIndex(), 4u );
   EXPECT_THAT( indexes( queue ), ElementsAre( 3, 5, lastIndex ) );
}

TEST( LinkQueue, TheIndexBelowTheHeadIsFreeBeforeComingRound ) {
   Queue queue;
   queue.valueIs( 5, "f" );
   queue.valueIs( 4, "e" );
   EXPECT_THAT( indexes( queue ), ElementsAre( 4, 5 ) );
   EXPECT_EQ( queue.nextIndex(), 6u );
}

TEST( LinkQueue, TheLastIndexAloneIsNotFull ) {
   Queue queue;
   queue.valueIs( lastIndex, "z" );
   EXPECT_EQ( queue.nextIndex(), 0u );
   EXPECT_EQ( queue.enq( "a" ), 0u );
   EXPECT_THAT( indexes( queue ), ElementsAre( 0, lastIndex ) );
   expectFull( queue, [&] { queue.enq( "b" ); } );
}

TEST( LinkQueue, ReplacingCannotFailForSpace ) {
   Queue queue;
   queue.valueIs( lastIndex, "z" );
   queue.enq( "a" );
   queue.valueIs( lastIndex, "Z" );
   queue.valueIs( 0, "A" );
   EXPECT_EQ( queue.value( lastIndex ), "Z" );
   EXPECT_EQ( queue.value( 0 ), "A" );
   EXPECT_EQ( queue.nextIndex(), 1u );
}

TEST( LinkQueue, AnEmptiedQueueComesRound ) {
   Queue queue;
   queue.valueIs( lastIndex, "z" );
   queue.valueDel( lastIndex );
   EXPECT_EQ( queue.enq( "a" ), 0u );
}

// Walks.

TEST( LinkQueue, AWalkGoesOnBehindTheElementItRemoves ) {
   Queue queue;
   for ( int i = 0; i < 6; ++i ) queue.enq( std::to_string( i ) );
   std::vector<U32> walked;
   for ( auto const & element : queue ) {
      walked.push_back( element.index() );
      if ( element.index() % 2 == 0 ) queue.valueDel( element.index() );
   }
   EXPECT_THAT( walked, ElementsAre( 0, 1, 2, 3, 4, 5 ) );
   EXPECT_THAT( queue.keys(), ElementsAre( 1, 3, 5 ) );
}

TEST( LinkQueue, AWalkSurvivesAnyChangeUnderIt ) {
   Queue queue;
   for ( U32 const index : { 10u, 20u, 30u, 40u } ) queue.valueIs( index, "" );
   auto walk = queue.begin();
   ++walk;
   EXPECT_EQ( walk->index(), 20u );
   queue.valueDel( 10 );   // places move
   queue.valueIs( 5, "" );
   queue.valueIs( 6, "" );
   queue.valueDel( 20 );   // the element it stands on goes
   queue.valueIs( 25, "" );
   EXPECT_EQ( walk->index(), 20u );
   ++walk;
   EXPECT_EQ( walk->index(), 25u );
   queue.valueDel( 30 );
   ++walk;
   EXPECT_EQ( walk->index(), 40u );
   for ( U32 const index : queue.keys() ) queue.valueDel( index );
   EXPECT_EQ( walk->index(), 40u );
   ++walk;
   EXPECT_TRUE( walk == queue.end() );
}

TEST( LinkQueue, AWalkSeesWhatIsAppendedBeforeItEnds ) {
   Queue queue;
   queue.enq( "a" );
   std::string text;
   for ( auto const & element : queue ) {
      text += element.value();
      if ( queue.count() < 3 ) queue.enq( "b" );
   }
   EXPECT_EQ( text, "abb" );
}

TEST( LinkQueue, AWalkAtTheLastIndexEnds ) {
   Queue queue;
   queue.valueIs( lastIndex, "z" );
   EXPECT_THAT( indexes( queue ), ElementsAre( lastIndex ) );
}

using LinkQueueDeathTest = testing::Test;

TEST_F( LinkQueueDeathTest, AWalkAtItsEndLeadsNowhere ) {
   Queue queue;
   queue.enq( "a" );
   auto walk = queue.begin();
   ++walk;
   ASSERT_TRUE( walk == queue.end() );
   EXPECT_DEATH( (void)*walk, "Assertion `object_' failed\\." );
   EXPECT_DEATH( (void)walk->index(), "Assertion `object_' failed\\." );
   EXPECT_DEATH( ++walk, "Assertion `object_' failed\\." );
}

// The rules once more, in the plainest form: an ordered map and a counter.
struct Model {
   std::map<U32, std::string> elements;
   U32 counter = 0;

   bool valueIs( U32 index, std::string const & value ) {
      if ( elements.contains( index ) ) {
         elements[index] = value;
         return true;
      }
      U32 const next = index >= counter ? index + 1 : counter;
      if ( !elements.empty() && elements.begin()->first == next ) return false;
      elements[index] = value;
      counter = next;
      return true;
   }
   std::optional<U32> enq( std::string const & value ) {
      U32 index = counter;
      if ( !elements.empty() && elements.rbegin()->first >= counter ) index = elements.rbegin()->first + 1;
      if ( elements.contains( index ) || !valueIs( index, value ) ) return {};
      return index;
   }
};

enum class Indexes { few, many };

/// Operations of every kind, with a walk under way that goes on now and then, against the model.
class LinkQueueModelTest : public testing::TestWithParam<Indexes> {
 protected:
   U32 anyIndex() {
      // A few places only, both ends of the space among them, so that they meet; or so many that blocks are split.
      if ( GetParam() == Indexes::many ) return static_cast<U32>( random() % 2000 ) + ( random() % 2 ? 0 : 1u << 31 );
      return random() % 2 ? U32( random() % 8 ) : lastIndex - U32( random() % 8 );
   }
   template<class Step> auto orNothing( Step && step ) -> std::optional<decltype( step() )> {
      try {
         return step();
      } catch ( RangeException const & ) {
         ++full;
         return {};
      }
   }
   void operation( std::string const & value ) {
      U32 const index = anyIndex();
      switch ( random() % 8 ) {
      case 0:
      case 1:
         ASSERT_EQ( orNothing( [&] { return queue.enq( value ); } ), model.enq( value ) );
         break;
      case 2:
      case 3:
      case 4:
         ASSERT_EQ(
            orNothing( [&] { return queue.valueIs( index, value ), true; } ).has_value(),
            model.valueIs( index, value ) );
         break;
      case 5:
         ASSERT_EQ( queue.valueDel( index ), model.elements.erase( index ) == 1 );
         break;
      case 6:   // now and then a run of them from somewhere on, so that blocks empty
         if ( random() % 32 ) break;
         for ( auto place = model.elements.lower_bound( index ); place != model.elements.end() && random() % 200; ) {
            ASSERT_TRUE( queue.valueDel( place->first ) );
            place = model.elements.erase( place );
         }
         break;
      default:
         if ( model.elements.empty() ) break;
         ASSERT_TRUE( queue.valueDel( queue.head()->index() ) );
         model.elements.erase( model.elements.begin() );
      }
   }
   void goOn( std::optional<Queue::Iterator> & walk ) {
      if ( !walk || *walk == queue.end() ) {
         walk = queue.begin();
         return;
      }
      auto const expected = model.elements.upper_bound( ( *walk )->index() );
      ++*walk;
      ASSERT_EQ( *walk == queue.end(), expected == model.elements.end() );
      ASSERT_TRUE( expected == model.elements.end() || ( *walk )->index() == expected->first );
   }
   void compare() {
      ASSERT_EQ( queue.nextIndex(), model.counter );
      ASSERT_EQ( queue.count(), model.elements.size() );
      ASSERT_EQ( queue.empty(), model.elements.empty() );
      if ( queue.empty() ) return;
      ASSERT_EQ( queue.head()->index(), model.elements.begin()->first );
      ASSERT_EQ( queue.tail()->index(), model.elements.rbegin()->first );
      U32 const index = anyIndex();
      auto const expected = model.elements.find( index );
      ASSERT_EQ( queue.value( index ), expected == model.elements.end() ? "" : expected->second );
   }
   void compareAll() {
      auto expected = model.elements.begin();
      for ( auto const & element : queue ) {
         ASSERT_EQ( element.index(), expected->first );
         ASSERT_EQ( element.value(), expected->second );
         ++expected;
      }
      ASSERT_EQ( expected, model.elements.end() );
   }

   std::mt19937 random;
   Queue queue;
   Model model;
   int full = 0;
};

TEST_P( LinkQueueModelTest, RandomOperationsAgreeWithTheModel ) {
   auto const seed = std::random_device{}();
   SCOPED_TRACE( "seed " + std::to_string( seed ) );
   random.seed( seed );
   bool const many = GetParam() == Indexes::many;
   int const steps = many ? 5'000 : 500;
   for ( int run = 0; run < ( many ? 5 : 40 ); ++run ) {
      queue = Queue();
      model = Model();
      std::optional<Queue::Iterator> walk;
      for ( int step = 0; step < steps; ++step ) {
         operation( std::to_string( step ) );
         if ( random() % 2 ) goOn( walk );
         compare();
         if ( step % ( steps / 100 ) == 0 ) compareAll();
         if ( HasFatalFailure() ) return;
      }
   }
   EXPECT_EQ( full > 0, GetParam() == Indexes::few );   // the end of the space was met
}

INSTANTIATE_TEST_SUITE_P( Queues, LinkQueueModelTest, testing::Values( Indexes::few, Indexes::many ) );

}   // namespace
}   // namespace Vor
