#include "framework/Allocate.h"

#include "framework/Describe.h"
#include "tests/framework/Lamp.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Test {
namespace {

using Vor::Ptr;

class Fragile final : public Vor::EntityOf<Fragile> {
 public:
   explicit Fragile( bool breaks ) : EntityOf( "fragile" ) {
      if ( breaks ) throw std::runtime_error( "broken in the making" );
   }
   struct NotifieeConst : NotifieeConstBase {};
   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<Vor::Fixed<"name", &Fragile::name>>;
};

Vor::Type const & Fragile::staticType() { return Vor::typeOf<Fragile, "Test::Fragile", nullptr>(); }

TEST( Allocate, LivingObjectsAreCountedPerType ) {
   Vor::Type const & type = Fragile::staticType();
   U64 const everBefore = type.allocatedEver();
   {
      Ptr<Fragile> const first = Vor::allocate<Fragile>( false );
      Ptr<Fragile> const second = Vor::allocate<Fragile>( false );
      EXPECT_EQ( type.allocated(), 2u );
      EXPECT_EQ( Lamp::staticType().allocated(), 0u );
   }
   EXPECT_EQ( type.allocated(), 0u );
   EXPECT_EQ( type.allocatedEver(), everBefore + 2 );
}

TEST( Allocate, AFactoryAllocates ) {
   Ptr<Lamp> lamp = plainLamp();
   EXPECT_EQ( Lamp::staticType().allocated(), 1u );
   lamp = nullptr;
   EXPECT_EQ( Lamp::staticType().allocated(), 0u );
}

TEST( Allocate, AnObjectMadeOtherwiseIsNotCounted ) {
   Ptr<Fragile> object = new Fragile( false );
   EXPECT_EQ( Fragile::staticType().allocated(), 0u );
   object = nullptr;
   EXPECT_EQ( Fragile::staticType().allocated(), 0u );
}

TEST( Allocate, AConstructorThatThrowsCountsNothing ) {
   EXPECT_THROW( Vor::allocate<Fragile>( true ), std::runtime_error );
   EXPECT_EQ( Fragile::staticType().allocated(), 0u );
}

}   // namespace
}   // namespace Test
