// The Tolvane's enumerations, configuration, state and directories.
#include "framework/Reflection.h"
#include "hardware/TolvaneConfigDir.h"
#include "hardware/TolvaneStatusDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hardware::Tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Name;
using Vor::Ptr;
using Vor::RangeException;
using Vor::String;

// Other numbers than the MAX24305's.
static_assert( uninitialized_ == 0 && ready_ == 1 && failed_ == 2 );
static_assert( unknown_ == 0 && timeSync_ == 1 );
// A handle to write through, unlike the MAX24305's.
static_assert( std::is_same_v<decltype( std::declval<Config>().ham() ), Ptr<Fru::Ham>> );

TEST( TolvaneTypes, Texts ) {
   EXPECT_STREQ( enumType( State{} ).name(), "Hardware::Tolvane::State" );
   EXPECT_STREQ( enumType( Role{} ).name(), "Hardware::Tolvane::Role" );
   std::vector<String> texts;
   for ( U32 value = 0; value < 3; ++value ) texts.push_back( stringValue( StateInstance( value ) ) );
   EXPECT_THAT( texts, ElementsAre( "uninitialized", "ready", "failed" ) );
   EXPECT_EQ( stringValue( RoleInstance( 0u ) ), "unknown" );
   EXPECT_EQ( stringValue( RoleInstance( 1u ) ), "timeSync" );
   EXPECT_EQ( U32{ StateInstance( "failed" ) }, 2u );
   EXPECT_EQ( valueToStrep( ready_ ), "'ready'" );
   std::ostringstream out;
   out << timeSync_;
   EXPECT_EQ( out.str(), "timeSync" );
}

TEST( TolvaneTypes, WhatIsOutsideTheTableIsARangeError ) {
   EXPECT_THROW( StateInstance( 3 ), RangeException );
   EXPECT_THROW( RoleInstance( 2 ), RangeException );
   EXPECT_THROW( StateInstance( "locking" ), RangeException );   // the MAX24305's
   EXPECT_THROW( RoleInstance( "" ), RangeException );
}

template<class Dir> struct DirWatch final : Dir::NotifieeConst {
   void onTolvane( Name const & name ) override { story.push_back( name.string().stdString() ); }
   void onTolvane() override { story.push_back( "all" ); }
   std::vector<std::string> story;
};

std::vector<std::string_view> attributeNames( Vor::Type const & type ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : type.attributes() ) names.push_back( attribute.name );
   return names;
}

class TolvaneTest : public testing::Test {
 protected:
   struct Asked {
      U32 genId = 1;
      U32 offset = 0x3000;
      Ptr<Fru::Ham> ham;
      Name resetGpoName = "osc0Reset";
      Role role = timeSync_;
      U32 slotId = 3;
   };
   Ptr<Config> ask( Asked const & asked, Name const & name = "osc0" ) {
      return configs->tolvaneIs(
         name, Fru::GenerationId( asked.genId ), asked.offset, asked.ham, asked.resetGpoName, asked.role,
         Fru::SlotId( asked.slotId ) );
   }
   Ptr<Status> status( U32 genId = 1, Role role = timeSync_ ) {
      return statuses->tolvaneIs( "osc0", Fru::GenerationId( genId ), role );
   }
   void SetUp() override {
      usual.ham = ham;
      configWatch->notifierIs( Ptr<ConfigDir const>( configs ) );
      statusWatch->notifierIs( Ptr<StatusDir const>( statuses ) );
   }
   static void expectRefusal( auto && step, std::string const & middle ) {
      try {
         step();
         ADD_FAILURE() << "nothing was thrown";
      } catch ( Vor::NameInUseException const & error ) {
         EXPECT_EQ( "Reinstantiating the entity with fullName " + middle + " not allowed", error.what() );
      }
   }
   void expectConfigRefusal( void ( *change )( Asked & ), std::string const & middle ) {
      Asked asked = usual;
      change( asked );
      expectRefusal( [&] { ask( asked ); }, "'/config/osc0' where constructor parameter attribute " + middle );
   }

   Ptr<Fru::Ham> ham = Fru::hamFactory( "kiv" );
   Asked usual;
   Ptr<ConfigDir> configs = configDirFactory( "config" );
   Ptr<StatusDir> statuses = statusDirFactory( "status" );
   Ptr<DirWatch<ConfigDir>> configWatch = new DirWatch<ConfigDir>;
   Ptr<DirWatch<StatusDir>> statusWatch = new DirWatch<StatusDir>;
};

TEST_F( TolvaneTest, AConfigurationKeepsItsParameters ) {
   Ptr<Config> const config = ask( usual );
   EXPECT_EQ( config->name(), "osc0" );
   EXPECT_EQ( config->genId(), Fru::GenerationId( 1 ) );
   EXPECT_EQ( config->offset(), 0x3000u );
   EXPECT_EQ( config->ham(), ham );
   EXPECT_EQ( config->resetGpoName(), "osc0Reset" );
   EXPECT_EQ( config->role(), timeSync_ );
   EXPECT_EQ( config->slotId(), Fru::SlotId( 3 ) );
   EXPECT_EQ( config->fullName(), "/config/osc0" );
   EXPECT_EQ( config->parentAttrName(), "tolvane" );
}

TEST_F( TolvaneTest, AskedForAgainAMemberIsTheSameAndNobodyIsTold ) {
   EXPECT_EQ( ask( usual ), ask( usual ) );
   Ptr<Status> const made = status();
   made->stateIs( ready_ );
   EXPECT_EQ( status(), made );
   EXPECT_EQ( made->state(), ready_ );
   EXPECT_THAT( configWatch->story, ElementsAre( "osc0" ) );
   EXPECT_THAT( statusWatch->story, ElementsAre( "osc0" ) );
}

TEST_F( TolvaneTest, EachDifferenceIsRefusedRequestedBeforeCurrent ) {
   ask( usual );
   expectConfigRefusal(
      []( Asked & a ) { a.genId = 2; }, "'genId' has a different value of 2 than the current value of 1" );
   expectConfigRefusal(
      []( Asked & a ) { a.offset = 4; }, "'offset' has a different value of 4 than the current value of 12288" );
   expectConfigRefusal(
      []( Asked & a ) { a.ham = Fru::hamFactory( "other" ); },
      "'ham' has a different value of '/other' than the current value of '/kiv'" );
   expectConfigRefusal(
      []( Asked & a ) { a.resetGpoName = "x"; },
      "'resetGpoName' has a different value of 'x' than the current value of 'osc0Reset'" );
   expectConfigRefusal(
      []( Asked & a ) { a.role = unknown_; },
      "'role' has a different value of 'unknown' than the current value of 'timeSync'" );
   expectConfigRefusal(
      []( Asked & a ) { a.slotId = 0; }, "'slotId' has a different value of 0 than the current value of 3" );
   EXPECT_EQ( configs->tolvaneCount(), 1u );
}

TEST_F( TolvaneTest, TheHandleIsComparedByIdentity ) {
   ask( usual );
   Asked asked = usual;
   asked.ham = Fru::hamFactory( "kiv" );
   expectRefusal(
      [&] { ask( asked ); },
      Vor::format(
         "'/config/osc0' where constructor parameter attribute 'ham' has a different value of '/kiv' (entity %u) than "
         "the current value of '/kiv' (entity %u)",
         asked.ham->ordinal(), ham->ordinal() )
         .stdString() );
}

TEST_F( TolvaneTest, TheFirstDifferenceInConstructorOrderIsNamed ) {
   ask( usual );
   expectConfigRefusal(
      []( Asked & a ) { a.genId = 2, a.slotId = 0; },
      "'genId' has a different value of 2 than the current value of 1" );
   expectConfigRefusal(
      []( Asked & a ) { a.ham = nullptr, a.resetGpoName = "x", a.role = unknown_, a.slotId = 0; },
      "'ham' has a different value of 'none' than the current value of '/kiv'" );
   status();
   expectRefusal(
      [&] { status( 2, unknown_ ); },
      "'/status/osc0' where constructor parameter attribute 'genId' has a different value of 2 than the current value "
      "of 1" );
   expectRefusal(
      [&] { status( 1, unknown_ ); },
      "'/status/osc0' where constructor parameter attribute 'role' has a different value of 'unknown' than the "
      "current value of 'timeSync'" );
}

TEST_F( TolvaneTest, RemovalTellsOfEachMemberThereWas ) {
   ask( usual );
   ask( usual, "osc1" );
   status();
   configWatch->story.clear();
   configs->tolvaneDel( "other" );
   EXPECT_THAT( configWatch->story, IsEmpty() );
   configs->tolvaneDel( "osc1" );
   configs->tolvaneDelAll();
   EXPECT_THAT( configWatch->story, ElementsAre( "osc1", "osc0" ) );
   statuses->tolvaneDelAll();
   EXPECT_THAT( statusWatch->story, ElementsAre( "osc0", "osc0" ) );
   EXPECT_EQ( configs->tolvaneCount() + statuses->tolvaneCount(), 0u );
}

TEST_F( TolvaneTest, NotifyingTellsOfANameAndChangesNothing ) {
   Ptr<Config> const config = ask( usual );
   configs->tolvaneNotify( "osc0" );
   configs->tolvaneNotify( "absent" );
   statuses->tolvaneNotify( "osc0" );
   EXPECT_THAT( configWatch->story, ElementsAre( "osc0", "osc0", "absent" ) );
   EXPECT_THAT( statusWatch->story, ElementsAre( "osc0" ) );
   EXPECT_EQ( configs->tolvane( "osc0" ), config );
   EXPECT_EQ( configs->tolvaneCount(), 1u );
   EXPECT_EQ( statuses->tolvaneCount(), 0u );
}

TEST_F( TolvaneTest, TheStateIsToldOnChangeOnly ) {
   struct Watch final : Status::NotifieeConst {
      void onState() override { states.push_back( notifier()->state() ); }
      std::vector<U32> states;
   };
   Ptr<Status> const made = statusFactory( "osc0", Fru::GenerationId( 1 ), timeSync_ );
   EXPECT_EQ( made->state(), uninitialized_ );
   Ptr<Watch> const watch = new Watch;
   watch->notifierIs( Ptr<Status const>( made ) );
   made->stateIs( uninitialized_ );
   made->stateIs( ready_ );
   made->stateIs( ready_ );
   made->stateIs( failed_ );
   EXPECT_THAT( watch->states, ElementsAre( 1, 2 ) );
}

TEST_F( TolvaneTest, Reflection ) {
   EXPECT_THAT(
      attributeNames( Config::staticType() ),
      ElementsAre( "name", "genId", "offset", "ham", "resetGpoName", "role", "slotId" ) );
   EXPECT_THAT( attributeNames( Status::staticType() ), ElementsAre( "name", "genId", "state", "role" ) );
   EXPECT_THAT( attributeNames( ConfigDir::staticType() ), ElementsAre( "name", "tolvane" ) );
   EXPECT_THAT( attributeNames( StatusDir::staticType() ), ElementsAre( "name", "tolvane" ) );
   Vor::NamedValue const arguments[] = {
      { "name", String( "osc1" ) },          { "genId", String( "9" ) },  { "offset", U64{ 8 } },
      { "ham", Vor::toValue( ham ) },        { "slotId", String( "2" ) }, { "role", String( "unknown" ) },
      { "resetGpoName", String( "reset1" ) } };
   Ptr<Config> const made = Vor::ptrCast<Config>( Config::staticType().make( arguments ) );
   EXPECT_EQ( made->genId(), Fru::GenerationId( 9 ) );
   EXPECT_EQ( made->ham(), ham );
   EXPECT_EQ( made->slotId(), Fru::SlotId( 2 ) );
   EXPECT_THROW( Vor::Reflected( made ).set( "offset", U64{ 4 } ), Vor::OperationNotSupportedException );
   // The state lies between the constructor's parameters in the list, and is none of them.
   Vor::NamedValue const ofStatus[] = {
      { "name", String( "osc1" ) }, { "genId", String( "9" ) }, { "role", String( "timeSync" ) } };
   Ptr<Status> const madeStatus = Vor::ptrCast<Status>( Status::staticType().make( ofStatus ) );
   EXPECT_EQ( madeStatus->role(), timeSync_ );
   EXPECT_EQ( madeStatus->genId(), Fru::GenerationId( 9 ) );
   EXPECT_THROW( Vor::Reflected( madeStatus ).set( "state", U64{ 3 } ), Vor::RangeException );
}

}   // namespace
}   // namespace Hardware::Tolvane
