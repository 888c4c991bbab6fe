// What follows from a list alone: storage, constructor, factory. The type and one derived from it keep their values in
// their lists' storage.
#include "framework/Describe.h"
#include "framework/Directory.h"
#include "framework/Reflection.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using Vor::Name;
using Vor::Ptr;
using Vor::String;

class Valve : public Vor::EntityOf<Valve> {
 public:
   explicit Valve( Name name, auto const &... parameters ) : EntityOf( std::move( name ) ), stored_( parameters... ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onOpening() {}
      virtual void onMood() {}
      virtual void onLabel() {}
   };

   U32 bar() const { return stored_.get<"bar">(); }
   U32 opening() const { return stored_.get<"opening">(); }
   void openingIs( U32 opening ) { attributeIs<"opening">( stored_, opening ); }
   String maker() const { return stored_.get<"maker">(); }
   Mood mood() const { return stored_.get<"mood">(); }
   void moodIs( Mood mood ) { attributeIs<"mood">( stored_, mood ); }
   String const & label() const { return stored_.get<"label">(); }
   void labelIs( String label ) { attributeIs<"label">( stored_, std::move( label ) ); }

   static Vor::Type const & staticType();
   // A changeable attribute may stand between the constructor parameters.
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Valve::name>, Vor::Fixed<"bar", &Valve::bar>,
      Vor::Changeable<"opening", &Valve::opening, &Valve::openingIs, &NotifieeConst::onOpening, 100u>,
      Vor::Fixed<"maker", &Valve::maker>,
      Vor::Changeable<"mood", &Valve::mood, &Valve::moodIs, &NotifieeConst::onMood, merry_>,
      Vor::Changeable<"label", &Valve::label, &Valve::labelIs, &NotifieeConst::onLabel>>;

 protected:
   Vor::Stored<Valve, Attributes> stored_;
};

Vor::Type const & Valve::staticType() { return Vor::typeOf<Valve, "Test::Valve">(); }

constexpr auto & valveFactory = Vor::factoryOf<Valve>;

class HotValve final : public Vor::EntityOf<HotValve, Valve> {
 public:
   HotValve( Name name, U32 bar, String maker, auto const &... parameters )
      : EntityOf( std::move( name ), bar, maker ), own_( parameters... ) {}

   struct NotifieeConst : NotifieeConstBase {};
   U32 degrees() const { return own_.get<"degrees">(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::AttributesThen<Valve::Attributes, Vor::Fixed<"degrees", &HotValve::degrees>>;

 private:
   Vor::Stored<HotValve, Attributes> own_;
};

Vor::Type const & HotValve::staticType() { return Vor::typeOf<HotValve, "Test::HotValve">(); }

struct ValveWatch final : Valve::NotifieeConst {
   void onOpening() override { story.push_back( "opening " + std::to_string( notifier()->opening() ) ); }
   void onMood() override { story.push_back( "mood" ); }
   void onLabel() override { story.push_back( "label " + notifier()->label().stdString() ); }
   Story story;
};

static_assert( std::is_same_v<decltype( &valveFactory ), Ptr<Valve> ( * )( Name, U32, String )> );
static_assert( std::is_same_v<decltype( &Vor::factoryOf<HotValve> ), Ptr<HotValve> ( * )( Name, U32, String, U32 )> );

TEST( Stored, ConstructorParametersAreTakenInTheOrderOfTheList ) {
   Ptr<Valve> const valve = valveFactory( "inlet", 16, "Acme" );
   EXPECT_EQ( valve->name(), "inlet" );
   EXPECT_EQ( valve->bar(), 16u );
   EXPECT_EQ( valve->maker(), "Acme" );
   EXPECT_EQ( Valve::staticType().allocated(), 1u );
}

TEST( Stored, OtherAttributesHaveTheirFirstValueOrTheDefaultOfTheirType ) {
   Ptr<Valve> const valve = valveFactory( "inlet", 16, "Acme" );
   EXPECT_EQ( valve->opening(), 100u );
   EXPECT_EQ( valve->mood(), merry_ );
   EXPECT_EQ( valve->label(), "" );
}

TEST( Stored, ASetterComparesStoresAndTells ) {
   Ptr<Valve> const valve = valveFactory( "inlet", 16, "Acme" );
   Ptr<ValveWatch> const watch = new ValveWatch;
   watch->notifierIs( Ptr<Valve const>( valve ) );
   valve->openingIs( 100 );
   valve->openingIs( 50 );
   valve->openingIs( 50 );
   valve->labelIs( "" );
   valve->labelIs( "red" );
   valve->moodIs( merry_ );
   EXPECT_THAT( watch->story, ElementsAre( "opening 50", "label red" ) );
   EXPECT_EQ( valve->opening(), 50u );
}

TEST( Stored, ReflectionWorksThroughTheAccessors ) {
   Ptr<Valve> const valve = valveFactory( "inlet", 16, "Acme" );
   Vor::Reflected const reflected( valve );
   reflected.set( "opening", U64{ 7 } );
   EXPECT_EQ( valve->opening(), 7u );
   EXPECT_EQ( Vor::valueText( reflected.get( "maker" ) ), "Acme" );
   EXPECT_THROW( reflected.set( "bar", U64{ 7 } ), Vor::OperationNotSupportedException );
   Vor::NamedValue const arguments[] = {
      { "maker", String( "Other" ) }, { "name", String( "outlet" ) }, { "bar", U64{ 4 } } };
   EXPECT_EQ( Vor::ptrCast<Valve>( Valve::staticType().make( arguments ) )->maker(), "Other" );
}

TEST( Stored, EachClassKeepsWhatItDeclares ) {
   Ptr<HotValve> const valve = Vor::factoryOf<HotValve>( "steam", 40, "Acme", 180 );
   EXPECT_EQ( valve->bar(), 40u );
   EXPECT_EQ( valve->degrees(), 180u );
   valve->openingIs( 3 );
   EXPECT_EQ( valve->opening(), 3u );
   using Own = Vor::Stored<HotValve, HotValve::Attributes>;
   EXPECT_EQ( sizeof( Own ), sizeof( U32 ) );
}

}   // namespace
}   // namespace Test
