#include "hardware/Max24305Config.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::Max24305 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;
using Vor::String;
using Vor::Value;

struct ConfigWatch final : Config::NotifieeConst {
   void onOpsToDo( U32 index ) override { tell( "op " + std::to_string( index ) ); }
   void onOpsToDo() override { tell( "all ops" ); }
   void onOpsToDoMetadata() override {
      OpsToDoMetadata const & metadata = notifier()->opsToDoMetadata();
      tell( "metadata " + std::to_string( metadata.firstIndex ) + " " + std::to_string( metadata.nextIndex ) );
   }
   void onOpsToDoValid() override { tell( notifier()->opsToDoValid() ? "valid" : "not valid" ); }
   void tell( std::string const & what ) {
      story.push_back( what );
      if ( auto const next = then ) next();
   }
   std::vector<std::string> story;
   std::function<void()> then;
};

class ConfigTest : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<Config const>( config ) ); }

   Ptr<Fru::Ham> ham = Fru::hamFactory( "kiv" );
   Ptr<Config> config = configFactory(
      "ptp0", Fru::GenerationId( 1 ), 0x100, 0x200, ham, "ptp0Reset", timeSync_, stuffedClock_, 10'000'000,
      Fru::SlotId( 3 ), true );
   Ptr<ConfigWatch> watch = new ConfigWatch;
};

TEST_F( ConfigTest, KeepsItsParametersAndStartsEmpty ) {
   EXPECT_EQ( config->name(), "ptp0" );
   EXPECT_EQ( config->genId(), Fru::GenerationId( 1 ) );
   EXPECT_EQ( config->configOffset(), 0x100u );
   EXPECT_EQ( config->statusOffset(), 0x200u );
   EXPECT_EQ( config->ham(), ham );
   EXPECT_EQ( config->resetGpoName(), "ptp0Reset" );
   EXPECT_EQ( config->role(), timeSync_ );
   EXPECT_EQ( config->input(), stuffedClock_ );
   EXPECT_EQ( config->outputFrequencyInHz(), 10'000'000u );
   EXPECT_EQ( config->slotId(), Fru::SlotId( 3 ) );
   EXPECT_TRUE( config->spiResetSupported() );
   EXPECT_TRUE( config->opsToDo().empty() );
   EXPECT_EQ( config->opsToDoMetadata(), OpsToDoMetadata( 0, 0 ) );
   EXPECT_FALSE( config->opsToDoValid() );
   EXPECT_EQ( config->parent(), nullptr );
}

// The handle is read-only here.
static_assert( std::is_same_v<decltype( std::declval<Config>().ham() ), Ptr<Fru::Ham const>> );

TEST_F( ConfigTest, HandingOverIsToldOnChangeOnly ) {
   config->opsToDoValidIs( false );
   config->opsToDoValidIs( true );
   config->opsToDoValidIs( true );
   config->opsToDoValidIs( false );
   EXPECT_THAT( watch->story, ElementsAre( "valid", "not valid" ) );
}

TEST_F( ConfigTest, MetadataAreToldAsTheyStandAlsoWhenEqual ) {
   config->opsToDoMetadataIs( { 1, 2 } );
   config->opsToDoMetadataIs( { 1, 2 } );
   config->opsToDoMetadataIs( { 3, 4 } );
   EXPECT_THAT( watch->story, ElementsAre( "metadata 1 2", "metadata 1 2", "metadata 3 4" ) );
}

TEST_F( ConfigTest, AttributesSayOfWhichTypeTheyAre ) {
   std::vector<std::string> types;
   for ( Vor::Attribute const & attribute : Config::staticType().attributes() )
      types.push_back(
         std::string( attribute.name ) + ": " + std::string( attribute.typeName ) +
         ( attribute.keyTypeName.empty() ? "" : " by " + std::string( attribute.keyTypeName ) ) );
   EXPECT_THAT(
      types, ElementsAre(
                "name: Vor::Name", "genId: Fru::GenerationId", "configOffset: U32", "statusOffset: U32",
                "ham: Vor::Ptr<const Fru::Ham>", "resetGpoName: Vor::Name", "role: Hardware::Max24305::Role",
                "input: Hardware::Max24305::Input", "outputFrequencyInHz: U32", "slotId: Fru::SlotId",
                "spiResetSupported: bool", "opsToDo: Hardware::Max24305::Op by U32",
                "opsToDoMetadata: Hardware::Max24305::OpsToDoMetadata", "opsToDoValid: bool", "doCleanup: void" ) );
}

// Callers hand the parameters over one by one, whoever derives the function.
static_assert( std::is_same_v<
               decltype( &configFactory ), Ptr<Config> ( * )(
                                              Vor::Name, Fru::GenerationId, U32, U32, Ptr<Fru::Ham const>, Vor::Name,
                                              Role, Input, U32, Fru::SlotId, bool )> );

TEST_F( ConfigTest, CleanupEmptiesTheQueueThenTakesTheHandOverBack ) {
   for ( U32 key = 0; key < 3; ++key ) config->opsToDoEnq( Op( key, write_, 0, 0 ) );
   config->opsToDoValidIs( true );
   watch->story.clear();
   config->doCleanup();
   EXPECT_THAT( watch->story, ElementsAre( "op 0", "op 1", "op 2", "not valid" ) );
   EXPECT_TRUE( config->opsToDo().empty() );
   EXPECT_FALSE( config->opsToDoValid() );
   watch->story.clear();
   config->doCleanup();
   EXPECT_THAT( watch->story, IsEmpty() );
}

TEST_F( ConfigTest, TheQueueIsStillValidWhileItIsEmptied ) {
   config->opsToDoEnq( Op() );
   config->opsToDoValidIs( true );
   bool valid = false;
   watch->then = [&] {
      watch->then = nullptr;
      valid = config->opsToDoValid();
   };
   config->doCleanup();
   EXPECT_TRUE( valid );
}

TEST_F( ConfigTest, AnObserverMayDropTheConfigurationWhileItIsCleanedUp ) {
   config->opsToDoEnq( Op() );
   config->opsToDoEnq( Op() );
   Config * const plain = config.ptr();
   config = nullptr;
   watch->then = [&] { watch->notifierIs( nullptr ); };
   plain->doCleanup();
   EXPECT_EQ( Config::staticType().allocated(), 0u );
}

TEST_F( ConfigTest, AttributesStandInOrder ) {
   std::vector<std::string_view> names;
   std::vector<std::string_view> constructorParameters;
   for ( Vor::Attribute const & attribute : Config::staticType().attributes() ) {
      if ( attribute.kind == Vor::Attribute::Kind::operation ) continue;
      names.push_back( attribute.name );
      if ( attribute.kind == Vor::Attribute::Kind::constructorParameter )
         constructorParameters.push_back( attribute.name );
   }
   EXPECT_THAT(
      constructorParameters, ElementsAre(
                                "name", "genId", "configOffset", "statusOffset", "ham", "resetGpoName", "role", "input",
                                "outputFrequencyInHz", "slotId", "spiResetSupported" ) );
   EXPECT_THAT(
      names, ElementsAre(
                "name", "genId", "configOffset", "statusOffset", "ham", "resetGpoName", "role", "input",
                "outputFrequencyInHz", "slotId", "spiResetSupported", "opsToDo", "opsToDoMetadata", "opsToDoValid" ) );
}

TEST_F( ConfigTest, IsMadeThroughItsFactoryByName ) {
   Vor::NamedValue const arguments[] = {
      { "slotId", String( "3" ) },          { "name", String( "ptp1" ) },     { "genId", String( "7" ) },
      { "configOffset", U64{ 256 } },       { "statusOffset", U64{ 512 } },   { "ham", Vor::toValue( ham ) },
      { "resetGpoName", String( "r" ) },    { "role", String( "timeSync" ) }, { "input", String( "tolvane" ) },
      { "outputFrequencyInHz", U64{ 25 } }, { "spiResetSupported", false } };
   Ptr<Config> const made = Vor::ptrCast<Config>( Config::staticType().make( arguments ) );
   ASSERT_TRUE( made );
   EXPECT_EQ( made->name(), "ptp1" );
   EXPECT_EQ( made->genId(), Fru::GenerationId( 7 ) );
   EXPECT_EQ( made->slotId(), Fru::SlotId( 3 ) );
   EXPECT_EQ( made->statusOffset(), 512u );
   EXPECT_EQ( made->ham(), ham );
   EXPECT_EQ( made->input(), tolvane_ );
   EXPECT_FALSE( made->spiResetSupported() );
}

TEST_F( ConfigTest, ReflectionWorksOnQueueMetadataAndFlag ) {
   Vor::Reflected const reflected( config );
   EXPECT_EQ( reflected.get( "genId" ), Value( String( "1" ) ) );
   EXPECT_EQ( reflected.get( "opsToDoMetadata" ), Value( String( "OpsToDoMetadata(0, 0)" ) ) );
   reflected.setAt( "opsToDo", U64{ 4 }, Vor::toValue( Op( 5, write_, 0, 60 ) ) );
   EXPECT_THAT( reflected.keys( "opsToDo" ), ElementsAre( Value( U64{ 4 } ) ) );
   EXPECT_EQ( reflected.getAt( "opsToDo", U64{ 4 } ), Vor::toValue( Op( 5, write_, 0, 60 ) ) );
   reflected.set( "opsToDoMetadata", String( "OpsToDoMetadata(1, 2)" ) );
   reflected.set( "opsToDoValid", true );
   reflected.deleteAt( "opsToDo", U64{ 4 } );
   reflected.call( "doCleanup" );
   EXPECT_THAT( watch->story, ElementsAre( "op 4", "metadata 1 2", "valid", "op 4", "not valid" ) );
   EXPECT_EQ( config->opsToDoMetadata(), OpsToDoMetadata( 1, 2 ) );
   EXPECT_THROW( reflected.set( "slotId", U64{ 1 } ), Vor::OperationNotSupportedException );
   EXPECT_THROW( reflected.setAt( "opsToDo", U64{ 4 }, String( "write" ) ), Vor::ParseException );
}

}   // namespace
}   // namespace Hardware::Max24305
