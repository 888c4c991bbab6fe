#include "platform/Ids.h"

#include <gtest/gtest.h>

namespace Fru {
namespace {

// A generation is no slot, and a number is neither by accident.
static_assert( !std::is_convertible_v<U32, GenerationId> );
static_assert( !std::is_constructible_v<GenerationId, SlotId> );
template<class A, class B>
concept Comparable = requires( A a, B b ) {
   a == b;
};
static_assert( Comparable<SlotId, SlotId> && !Comparable<SlotId, GenerationId> );

TEST( Ids, EqualityIsThatOfTheNumber ) {
   EXPECT_EQ( GenerationId(), GenerationId( 0 ) );
   EXPECT_NE( GenerationId( 1 ), GenerationId( 2 ) );
   EXPECT_EQ( SlotId( 4294967295 ).value(), 4294967295u );
}

TEST( Ids, TextFormIsTheNumberAndIsReadBack ) {
   EXPECT_EQ( valueToStrep( GenerationId( 17 ) ), "17" );
   Vor::String const text = valueToStrep( SlotId( 4294967295 ) );
   auto pos = text.begin();
   EXPECT_EQ( SlotId( pos, text.end() ), SlotId( 4294967295 ) );
   EXPECT_EQ( pos, text.end() );
   Vor::String const wrong = "4294967296";
   pos = wrong.begin();
   EXPECT_THROW( SlotId( pos, wrong.end() ), Vor::DeserializeException );
}

}   // namespace
}   // namespace Fru
