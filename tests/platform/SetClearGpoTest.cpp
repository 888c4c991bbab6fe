#include "platform/SetClearGpo.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Hardware {
namespace {

using testing::ElementsAre;
using testing::InSequence;
using testing::SetArgReferee;
using testing::StrictMock;
using Vor::Ptr;

class ScriptedHam : public Fru::HamImpl {
 public:
   ScriptedHam() : HamImpl( "scripted" ) {}
   MOCK_METHOD( void, read32, ( U32 address, U32 & value ), ( override ) );
   MOCK_METHOD( void, write32, ( U32 address, U32 value ), ( override ) );
};

class SetClearGpoTest : public testing::Test {
 protected:
   void SetUp() override {
      ham->hamImplIs( hamImpl );
      gpo->hamIs( ham );
      gpo->offsetIs( 0x2000 );
      gpo->bitIs( 1 );
   }
   /// The next access is a read that gives `before`, the one after it a write of `after`.
   void expectChange( U32 address, U32 before, U32 after ) {
      InSequence const inThisOrder;
      EXPECT_CALL( *hamImpl, read32( address, testing::_ ) ).WillOnce( SetArgReferee<1>( before ) );
      EXPECT_CALL( *hamImpl, write32( address, after ) );
   }

   Ptr<StrictMock<ScriptedHam>> hamImpl = new StrictMock<ScriptedHam>;
   Ptr<Fru::Ham> ham = Fru::hamFactory( "kiv" );
   Ptr<SetClearGpo> gpo = setClearGpoFactory( "ptp0Reset" );
};

TEST_F( SetClearGpoTest, EnablingSetsItsBitAndKeepsTheOthers ) {
   expectChange( 0x2000, 0xA5A5A5A5, 0xA5A5A5A7 );
   gpo->impl()->doEnable();
}

TEST_F( SetClearGpoTest, DisablingClearsItsBitAndKeepsTheOthers ) {
   expectChange( 0x2000, 0xFFFFFFFF, 0xFFFFFFFD );
   gpo->impl()->doDisable();
}

TEST_F( SetClearGpoTest, ABitThatStandsThereAlreadyIsWrittenAgain ) {
   expectChange( 0x2000, 0x2, 0x2 );
   gpo->impl()->doEnable();
}

TEST_F( SetClearGpoTest, ActiveLowIsTheOtherWayRound ) {
   gpo->activeTypeIs( Fru::activeLow_ );
   InSequence const inThisOrder;
   expectChange( 0x2000, 0x3, 0x1 );
   expectChange( 0x2000, 0x1, 0x3 );
   gpo->impl()->doEnable();
   gpo->impl()->doDisable();
}

TEST_F( SetClearGpoTest, OffsetAndBitAreThoseOfTheMoment ) {
   gpo->offsetIs( 0 );
   gpo->bitIs( 31 );
   expectChange( 0, 0, 0x80000000 );
   gpo->impl()->doEnable();
}

TEST_F( SetClearGpoTest, WithoutAHandleAChangeIsDropped ) {
   gpo->hamIs( nullptr );
   gpo->impl()->doEnable();
   gpo->impl()->doDisable();
   gpo->hamIs( ham );
   ham->hamImplIs( nullptr );
   gpo->impl()->doEnable();
}

TEST_F( SetClearGpoTest, TheImplementationIsAlwaysThere ) {
   Ptr<SetClearGpo> const fresh = setClearGpoFactory( "fresh" );
   ASSERT_TRUE( fresh->impl() );
   EXPECT_EQ( fresh->impl(), fresh->impl() );
   EXPECT_EQ( fresh->ham(), nullptr );
   EXPECT_EQ( fresh->offset(), 0u );
   EXPECT_EQ( fresh->bit(), 0u );
   EXPECT_EQ( fresh->activeType(), Fru::activeHigh_ );
   Ptr<Fru::Gpo const> const asGpo = fresh;
   EXPECT_EQ( asGpo->impl(), fresh->impl() );
}

TEST_F( SetClearGpoTest, TheImplementationOutlivesTheOutputAndThenDoesNothing ) {
   Ptr<Fru::GpoImpl> const impl = gpo->impl();
   gpo = nullptr;
   EXPECT_EQ( SetClearGpo::staticType().allocated(), 0u );
   EXPECT_EQ( ham->references(), 1 );
   impl->doEnable();
   impl->doDisable();
}

TEST_F( SetClearGpoTest, AWriteMayDropTheOutput ) {
   Ptr<Fru::GpoImpl> const impl = gpo->impl();
   EXPECT_CALL( *hamImpl, read32 );
   EXPECT_CALL( *hamImpl, write32( 0x2000, 2 ) ).WillOnce( [this] { gpo = nullptr; } );
   impl->doEnable();
   EXPECT_EQ( SetClearGpo::staticType().allocated(), 0u );
}

using SetClearGpoDeathTest = SetClearGpoTest;

TEST_F( SetClearGpoDeathTest, ABitAboveTheWordStopsTheProcessAsTheOutputIsDriven ) {
   gpo->bitIs( 32 );
   EXPECT_DEATH(
      gpo->impl()->doEnable(),
      ": SetClearGpo:[0-9]+: void Hardware::SetClearGpo::levelIs\\(bool\\) const: Assertion `bit_ < 32' failed\\." );
   gpo->hamIs( nullptr );
   EXPECT_DEATH( gpo->impl()->doDisable(), "Assertion `bit_ < 32' failed\\." );
}

struct GpoWatch final : SetClearGpo::NotifieeConst {
   void onHam() override { story.push_back( "ham" ); }
   void onOffset() override { story.push_back( "offset" ); }
   void onBit() override { story.push_back( "bit" ); }
   void onActiveType() override { story.push_back( "activeType" ); }
   std::vector<std::string> story;
};

TEST_F( SetClearGpoTest, ChangesAreToldAndEqualValuesAreSilent ) {
   Ptr<GpoWatch> const watch = new GpoWatch;
   watch->notifierIs( Ptr<SetClearGpo const>( gpo ) );
   gpo->hamIs( ham );
   gpo->offsetIs( 0x2000 );
   gpo->bitIs( 1 );
   gpo->activeTypeIs( Fru::activeHigh_ );
   EXPECT_THAT( watch->story, testing::IsEmpty() );
   gpo->hamIs( nullptr );
   gpo->offsetIs( 4 );
   gpo->bitIs( 2 );
   gpo->activeTypeIs( Fru::activeLow_ );
   EXPECT_THAT( watch->story, ElementsAre( "ham", "offset", "bit", "activeType" ) );
}

TEST_F( SetClearGpoTest, AnObserverOfOutputsInGeneralHearsOfTheActiveType ) {
   struct PlainWatch final : Fru::Gpo::NotifieeConst {
      void onActiveType() override { ++told; }
      int told = 0;
   };
   Ptr<PlainWatch> const watch = new PlainWatch;
   watch->notifierIs( Ptr<Fru::Gpo const>( gpo ) );
   gpo->activeTypeIs( Fru::activeLow_ );
   gpo->bitIs( 2 );
   EXPECT_EQ( watch->told, 1 );
}

TEST_F( SetClearGpoTest, Reflection ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : gpo->fwkType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT( names, ElementsAre( "name", "activeType", "ham", "offset", "bit" ) );
   Vor::Reflected const reflected( gpo );
   reflected.set( "bit", U64{ 7 } );
   reflected.set( "activeType", Vor::String( "activeLow" ) );
   reflected.set( "ham", Vor::Value() );
   EXPECT_EQ( gpo->bit(), 7u );
   EXPECT_EQ( gpo->activeType(), Fru::activeLow_ );
   EXPECT_EQ( gpo->ham(), nullptr );
   Vor::NamedValue const arguments[] = { { "name", Vor::String( "made" ) } };
   EXPECT_EQ( Vor::ptrCast<SetClearGpo>( SetClearGpo::staticType().make( arguments ) )->name(), "made" );
}

TEST( OutputBit, ItsLevelAndTheWordThatGivesIt ) {
   Fru::OutputBit const high{ 4, Fru::activeHigh_ };
   EXPECT_TRUE( high.active( 0x10 ) );
   EXPECT_FALSE( high.active( 0xFFFFFFEF ) );
   EXPECT_EQ( high.driven( 0x81, true ), 0x91u );
   EXPECT_EQ( high.driven( 0x91, true ), 0x91u );
   EXPECT_EQ( high.driven( 0x91, false ), 0x81u );
   Fru::OutputBit const low{ 31, Fru::activeLow_ };
   EXPECT_TRUE( low.active( 0 ) );
   EXPECT_FALSE( low.active( 0x80000000 ) );
   EXPECT_EQ( low.driven( 0x80000001, true ), 0x00000001u );
   EXPECT_EQ( low.driven( 0x00000001, false ), 0x80000001u );
}

TEST_F( SetClearGpoTest, ADerivedOneMayTellBeforeItIsDriven ) {
   struct Watched final : SetClearGpo {
      explicit Watched( std::string & told ) : SetClearGpo( "ptp0Reset" ), story( told ) {}
      void drive( bool active ) const override {
         story += active ? "+" : "-";
         SetClearGpo::drive( active );
      }
      std::string & story;
   };
   std::string story;
   Ptr<SetClearGpo> const watched = new Watched( story );
   watched->impl()->doEnable();   // it has no handle yet
   EXPECT_EQ( story, "+" );
   watched->hamIs( ham );
   EXPECT_CALL( *hamImpl, read32( 0, testing::_ ) ).WillOnce( [&]( U32, U32 & value ) {
      story += "r";
      value = 3;
   } );
   EXPECT_CALL( *hamImpl, write32( 0, 2 ) ).WillOnce( [&] { story += "w"; } );
   watched->impl()->doDisable();
   EXPECT_EQ( story, "+-rw" );
}

}   // namespace
}   // namespace Hardware
