// The directories of MAX24305 configurations and states, and the status itself.
#include "framework/Reflection.h"
#include "hardware/Max24305ConfigDir.h"
#include "hardware/Max24305StatusDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::Max24305 {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Vor::Name;
using Vor::NameInUseException;
using Vor::Ptr;
using Vor::String;

std::string messageOf( auto && step ) {
   try {
      step();
   } catch ( NameInUseException const & error ) {
      return error.what();
   }
   ADD_FAILURE() << "nothing was thrown";
   return "";
}

std::vector<std::string_view> attributeNames( Vor::Type const & type ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : type.attributes() ) names.push_back( attribute.name );
   return names;
}

template<class Dir> struct DirWatch final : Dir::NotifieeConst {
   void onMax24305( Name const & name ) override { story.push_back( name.string().stdString() ); }
   void onMax24305() override { story.push_back( "all" ); }
   std::vector<std::string> story;
};

class ConfigDirTest : public testing::Test {
 protected:
   // What a configuration is asked for with; a test changes one of them or two.
   struct Asked {
      U32 genId = 1;
      U32 configOffset = 0x100;
      U32 statusOffset = 0x200;
      Ptr<Fru::Ham const> ham;
      Name resetGpoName = "ptp0Reset";
      Role role = timeSync_;
      Input input = tolvane_;
      U32 outputFrequencyInHz = 10'000'000;
      U32 slotId = 3;
      bool spiResetSupported = true;
   };
   Ptr<Config> ask( Asked const & asked, Name const & name = "ptp0" ) {
      return dir->max24305Is(
         name, Fru::GenerationId( asked.genId ), asked.configOffset, asked.statusOffset, asked.ham, asked.resetGpoName,
         asked.role, asked.input, asked.outputFrequencyInHz, Fru::SlotId( asked.slotId ), asked.spiResetSupported );
   }
   void SetUp() override {
      root->parentIs( nullptr );
      dir->parentIs( root.ptr() );
      watch->notifierIs( Ptr<ConfigDir const>( dir ) );
      usual.ham = ham;
   }
   /// The whole message, with the parts that differ from parameter to parameter.
   static std::string refusal( char const * attribute, char const * requested, char const * current ) {
      return std::string(
                "Reinstantiating the entity with fullName '/hardware/config/ptp0' where constructor parameter "
                "attribute '" ) +
             attribute + "' has a different value of " + requested + " than the current value of " + current +
             " not allowed";
   }
   void
   expectRefusal( void ( *change )( Asked & ), char const * attribute, char const * requested, char const * current ) {
      Asked asked = usual;
      change( asked );
      EXPECT_EQ( messageOf( [&] { ask( asked ); } ), refusal( attribute, requested, current ) );
   }

   Ptr<Vor::Entity> root = Vor::entityFactory( "hardware" );
   Ptr<Fru::Ham> ham = Fru::hamFactory( "kiv" );
   Ptr<ConfigDir> dir = configDirFactory( "config" );
   Ptr<DirWatch<ConfigDir>> watch = new DirWatch<ConfigDir>;
   Asked usual;
};

TEST_F( ConfigDirTest, AMemberStandsInTheTree ) {
   Ptr<Config> const config = ask( usual );
   EXPECT_EQ( config->fullName(), "/hardware/config/ptp0" );
   EXPECT_EQ( config->parentAttrName(), "max24305" );
   EXPECT_EQ( dir->max24305( "ptp0" ), config );
   EXPECT_EQ( dir->max24305( "ptp1" ), nullptr );
   EXPECT_EQ( dir->max24305Count(), 1u );
   EXPECT_THAT( watch->story, ElementsAre( "ptp0" ) );
}

TEST_F( ConfigDirTest, AskedForAgainItIsTheSameAsItStands ) {
   Ptr<Config> const config = ask( usual );
   config->opsToDoEnq( Op( 1, write_, 2, 3 ) );
   config->opsToDoValidIs( true );
   config->opsToDoMetadataIs( { 1, 2 } );
   EXPECT_EQ( ask( usual ), config );
   EXPECT_THAT( watch->story, ElementsAre( "ptp0" ) );
   EXPECT_EQ( config->opsToDo().count(), 1u );
   EXPECT_TRUE( config->opsToDoValid() );
   EXPECT_EQ( config->opsToDoMetadata(), OpsToDoMetadata( 1, 2 ) );
}

TEST_F( ConfigDirTest, EachDifferenceIsRefusedRequestedBeforeCurrent ) {
   ask( usual );
   expectRefusal( []( Asked & a ) { a.genId = 2; }, "genId", "2", "1" );
   expectRefusal( []( Asked & a ) { a.configOffset = 0x180; }, "configOffset", "384", "256" );
   expectRefusal( []( Asked & a ) { a.statusOffset = 0x180; }, "statusOffset", "384", "512" );
   expectRefusal( []( Asked & a ) { a.ham = nullptr; }, "ham", "'none'", "'/kiv'" );
   expectRefusal( []( Asked & a ) { a.resetGpoName = "other"; }, "resetGpoName", "'other'", "'ptp0Reset'" );
   expectRefusal( []( Asked & a ) { a.role = unknown_; }, "role", "'unknown'", "'timeSync'" );
   expectRefusal( []( Asked & a ) { a.input = noInput_; }, "input", "'noInput'", "'tolvane'" );
   expectRefusal(
      []( Asked & a ) { a.outputFrequencyInHz = 25'000'000; }, "outputFrequencyInHz", "25000000", "10000000" );
   expectRefusal( []( Asked & a ) { a.slotId = 4; }, "slotId", "4", "3" );
   expectRefusal( []( Asked & a ) { a.spiResetSupported = false; }, "spiResetSupported", "false", "true" );
   EXPECT_THAT( watch->story, ElementsAre( "ptp0" ) );
   EXPECT_EQ( dir->max24305Count(), 1u );
}

TEST_F( ConfigDirTest, TheFirstDifferenceInConstructorOrderIsNamed ) {
   ask( usual );
   // From the last to the first: each added difference comes before those there are.
   Asked asked = usual;
   std::vector<std::pair<char const *, std::function<void()>>> const differences{
      { "spiResetSupported", [&] { asked.spiResetSupported = false; } },
      { "slotId", [&] { asked.slotId = 4; } },
      { "outputFrequencyInHz", [&] { asked.outputFrequencyInHz = 1; } },
      { "input", [&] { asked.input = noInput_; } },
      { "role", [&] { asked.role = unknown_; } },
      { "resetGpoName", [&] { asked.resetGpoName = "other"; } },
      { "ham", [&] { asked.ham = nullptr; } },
      { "statusOffset", [&] { asked.statusOffset = 1; } },
      { "configOffset", [&] { asked.configOffset = 1; } },
      { "genId", [&] { asked.genId = 2; } } };
   for ( auto const & [attribute, differ] : differences ) {
      differ();
      EXPECT_THAT( messageOf( [&] { ask( asked ); } ), HasSubstr( "attribute '" + std::string( attribute ) + "'" ) );
   }
}

TEST_F( ConfigDirTest, TheHandleIsComparedByIdentity ) {
   ask( usual );
   Asked asked = usual;
   asked.ham = Fru::hamFactory( "kiv" );
   auto const text = [&]( Fru::Ham const & handle ) {
      return Vor::format( "'/kiv' (entity %u)", handle.ordinal() ).stdString();
   };
   EXPECT_EQ( messageOf( [&] { ask( asked ); } ), refusal( "ham", text( *asked.ham ).c_str(), text( *ham ).c_str() ) );
}

TEST_F( ConfigDirTest, RemovalIsToldIfThereWasAnything ) {
   ask( usual );
   dir->max24305Del( "ptp1" );
   dir->max24305Del( "ptp0" );
   EXPECT_THAT( watch->story, ElementsAre( "ptp0", "ptp0" ) );
   EXPECT_EQ( dir->max24305Count(), 0u );
}

TEST_F( ConfigDirTest, RemovingAllGoesInTheMapsOrder ) {
   std::vector<std::string> order;
   for ( U32 i = 0; i < 10; ++i ) ask( usual, Vor::format( "ptp%u", i ) );
   for ( auto const & [name, config] : dir->max24305() ) order.push_back( name.string().stdString() );
   watch->story.clear();
   dir->max24305DelAll();
   EXPECT_EQ( watch->story, order );
   EXPECT_EQ( Config::staticType().allocated(), 0u );
}

TEST_F( ConfigDirTest, SupportIsSaidByTheConfiguringAgent ) {
   struct Watch final : ConfigDir::NotifieeConst {
      void onSupported() override { ++told; }
      int told = 0;
   };
   Ptr<Watch> const supported = new Watch;
   supported->notifierIs( Ptr<ConfigDir const>( dir ) );
   EXPECT_FALSE( dir->supported() );
   dir->supportedIs( false );
   dir->supportedIs( true );
   dir->supportedIs( true );
   EXPECT_EQ( supported->told, 1 );
}

TEST_F( ConfigDirTest, Reflection ) {
   EXPECT_THAT( attributeNames( ConfigDir::staticType() ), ElementsAre( "name", "supported", "max24305" ) );
   Ptr<Config> const config = ask( usual );
   Vor::Reflected const reflected( dir );
   EXPECT_EQ( Vor::fromValue<Ptr<Config>>( reflected.getAt( "max24305", String( "ptp0" ) ) ), config );
   reflected.deleteAt( "max24305", String( "ptp0" ) );
   EXPECT_EQ( dir->max24305Count(), 0u );
}

class StatusDirTest : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<StatusDir const>( dir ) ); }
   Ptr<Status> ptp0( U32 genId = 1, Role role = timeSync_ ) {
      return dir->max24305Is( "ptp0", Fru::GenerationId( genId ), role );
   }
   Ptr<StatusDir> dir = statusDirFactory( "status" );
   Ptr<DirWatch<StatusDir>> watch = new DirWatch<StatusDir>;
};

TEST_F( StatusDirTest, AskedForAgainTheStateStays ) {
   Ptr<Status> const status = ptp0();
   status->stateIs( ready_ );
   EXPECT_EQ( ptp0(), status );
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( status->fullName(), "/status/ptp0" );
   EXPECT_THAT( watch->story, ElementsAre( "ptp0" ) );
}

TEST_F( StatusDirTest, ADifferenceIsRefusedGenerationFirst ) {
   ptp0();
   EXPECT_EQ(
      messageOf( [&] { ptp0( 2, unknown_ ); } ),
      "Reinstantiating the entity with fullName '/status/ptp0' where constructor parameter attribute 'genId' has a "
      "different value of 2 than the current value of 1 not allowed" );
   EXPECT_EQ(
      messageOf( [&] { ptp0( 1, unknown_ ); } ),
      "Reinstantiating the entity with fullName '/status/ptp0' where constructor parameter attribute 'role' has a "
      "different value of 'unknown' than the current value of 'timeSync' not allowed" );
   EXPECT_EQ( dir->max24305Count(), 1u );
}

TEST_F( StatusDirTest, Removal ) {
   ptp0();
   dir->max24305Del( "other" );
   dir->max24305Del( "ptp0" );
   ptp0();
   dir->max24305DelAll();
   EXPECT_THAT( watch->story, ElementsAre( "ptp0", "ptp0", "ptp0", "ptp0" ) );
   EXPECT_EQ( dir->max24305( "ptp0" ), nullptr );
}

TEST_F( StatusDirTest, Reflection ) {
   EXPECT_THAT( attributeNames( StatusDir::staticType() ), ElementsAre( "name", "max24305" ) );
   EXPECT_THAT( attributeNames( Status::staticType() ), ElementsAre( "name", "genId", "role", "state" ) );
   Vor::NamedValue const arguments[] = {
      { "role", String( "timeSync" ) }, { "genId", String( "1" ) }, { "name", String( "made" ) } };
   Ptr<Status> const made = Vor::ptrCast<Status>( Status::staticType().make( arguments ) );
   EXPECT_EQ( made->role(), timeSync_ );
   Vor::Reflected( made ).set( "state", String( "failed" ) );
   EXPECT_EQ( made->state(), failed_ );
   EXPECT_THROW( Vor::Reflected( made ).set( "state", U64{ 4 } ), Vor::RangeException );
   EXPECT_EQ( made->state(), failed_ );
   Vor::NamedValue const wrong[] = { { "role", U64{ 2 } }, { "genId", String( "1" ) }, { "name", String( "made" ) } };
   EXPECT_THROW( Status::staticType().make( wrong ), Vor::RangeException );
}

TEST( Max24305Status, TheStateIsToldOnChangeOnly ) {
   struct Watch final : Status::NotifieeConst {
      void onState() override { states.push_back( notifier()->state() ); }
      std::vector<U32> states;
   };
   Ptr<Status> const status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
   Ptr<Watch> const watch = new Watch;
   watch->notifierIs( Ptr<Status const>( status ) );
   status->stateIs( uninitialized_ );
   status->stateIs( ready_ );
   status->stateIs( ready_ );
   status->stateIs( failed_ );
   EXPECT_THAT( watch->states, ElementsAre( 2, 3 ) );
}

// Only the directory of configurations says whether chips are supported, and only the Tolvane's can tell without a
// change.
template<class T>
concept HasSupported = requires( T & dir ) {
   dir.supportedIs( true );
};
template<class T>
concept HasNotify = requires( T & dir ) {
   dir.max24305Notify( "ptp0" );
};
static_assert( HasSupported<ConfigDir> && !HasSupported<StatusDir> );
static_assert( !HasNotify<ConfigDir> && !HasNotify<StatusDir> );

}   // namespace
}   // namespace Hardware::Max24305
