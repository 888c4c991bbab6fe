// The status entities of other agents.
#include "framework/Reflection.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;
using Vor::String;
using Vor::Value;

std::vector<std::string_view> attributeNames( Vor::Type const & type ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : type.attributes() ) names.push_back( attribute.name );
   return names;
}

template<class Status> struct StateWatch final : Status::NotifieeConst {
   void onState() override { states.push_back( this->notifier()->state() ); }
   std::vector<U32> states;
};

using Hardware::Kiv::ClockStatus;

static_assert( ClockStatus::notReady_ == 0 && ClockStatus::ready_ == 1 && ClockStatus::failed_ == 2 );

TEST( ClockStatus, StartsNotReadyAndTellsOfChanges ) {
   Ptr<ClockStatus> const status = Hardware::Kiv::clockStatusFactory( "clock" );
   Ptr<StateWatch<ClockStatus>> const watch = new StateWatch<ClockStatus>;
   watch->notifierIs( Ptr<ClockStatus const>( status ) );
   EXPECT_EQ( status->state(), ClockStatus::notReady_ );
   status->stateIs( ClockStatus::notReady_ );
   status->stateIs( ClockStatus::ready_ );
   status->stateIs( ClockStatus::ready_ );
   status->stateIs( ClockStatus::failed_ );
   EXPECT_THAT( watch->states, ElementsAre( 1, 2 ) );
   EXPECT_THAT( attributeNames( ClockStatus::staticType() ), ElementsAre( "name", "state" ) );
   EXPECT_EQ( Vor::Reflected( status ).get( "state" ), Value( String( "failed" ) ) );
}

static_assert( PtpTimeSync::disabled_ == 0 );

TEST( PtpTimeSyncStatus, StartsDisabledAndTellsOfChanges ) {
   using PtpTimeSync::Status;
   Ptr<Status> const status = PtpTimeSync::statusFactory( "ptp" );
   Ptr<StateWatch<Status>> const watch = new StateWatch<Status>;
   watch->notifierIs( Ptr<Status const>( status ) );
   EXPECT_EQ( status->state(), PtpTimeSync::OperationalState::disabled_ );
   status->stateIs( PtpTimeSync::disabled_ );
   status->stateIs( static_cast<PtpTimeSync::OperationalState>( 2 ) );
   status->stateIs( static_cast<PtpTimeSync::OperationalState>( 9 ) );
   EXPECT_THAT( watch->states, ElementsAre( 2, 9 ) );
   EXPECT_THAT( attributeNames( Status::staticType() ), ElementsAre( "name", "state" ) );
   EXPECT_EQ( Vor::Reflected( status ).get( "state" ), Value( U64{ 9 } ) );   // a number without a text
}

TEST( OpenEnumerations, TakeANumberWithoutAnEnumerator ) {
   Ptr<ClockStatus> const clock = Hardware::Kiv::clockStatusFactory( "clock" );
   Ptr<PtpTimeSync::Status> const timeSync = PtpTimeSync::statusFactory( "ptp" );
   Ptr<Redundancy::RedundancyStatus> const redundancy = Redundancy::redundancyStatusFactory( "redundancy" );
   Vor::Reflected( clock ).set( "state", U64{ 3 } );
   Vor::Reflected( timeSync ).set( "state", U64{ 9 } );
   Vor::Reflected( redundancy ).set( "mode", U64{ 6 } );
   EXPECT_EQ( U32{ clock->state() }, 3u );
   EXPECT_EQ( U32{ timeSync->state() }, 9u );
   EXPECT_EQ( U32{ redundancy->mode() }, 6u );
}

using Redundancy::RedundancyStatus;

static_assert( Redundancy::switchover_ == 4 && Redundancy::active_ == 5 );

struct RedundancyWatch final : RedundancyStatus::NotifieeConst {
   void onMode() override { story.push_back( "mode" ); }
   void onSwitchoverStage( String stage ) override {
      story.push_back(
         stage.stdString() + ( notifier()->switchoverStage().has( stage )
                                  ? Vor::valueToStrep( notifier()->switchoverStage().value( stage ) ).stdString()
                                  : " gone" ) );
   }
   void onSwitchoverStage() override { story.push_back( "all stages" ); }
   void onSwitchoverStagevorImmediate() override { story.push_back( "at once" ); }
   std::vector<std::string> story;
};

class RedundancyStatusTest : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<RedundancyStatus const>( status ) ); }
   Ptr<RedundancyStatus> status = Redundancy::redundancyStatusFactory( "redundancy" );
   Ptr<RedundancyWatch> watch = new RedundancyWatch;
};

TEST_F( RedundancyStatusTest, StagesAreToldByKeyOnChangeAndNeverAsAWhole ) {
   status->switchoverStageIs( "DovraWritable", false );   // new, also with a default value
   status->switchoverStageIs( "DovraWritable", false );
   status->switchoverStageIs( "DovraWritable", true );
   status->switchoverStageDel( "DovraWritable" );
   status->switchoverStageDel( "DovraWritable" );
   EXPECT_THAT( watch->story, ElementsAre( "DovraWritablefalse", "DovraWritabletrue", "DovraWritable gone" ) );
}

TEST_F( RedundancyStatusTest, AnAbsentStageIsNotReached ) {
   EXPECT_FALSE( status->switchoverStage().value( "DovraWritable" ) );
   EXPECT_FALSE( status->switchoverStage().has( "DovraWritable" ) );
}

TEST_F( RedundancyStatusTest, AStageMayBeNamedByTheMapsOwnKey ) {
   status->switchoverStageIs( "a stage of a name that needs memory of its own", true );
   watch->story.clear();
   status->switchoverStageDel( status->switchoverStage().begin()->first );
   EXPECT_THAT( watch->story, ElementsAre( "a stage of a name that needs memory of its own gone" ) );
}

TEST_F( RedundancyStatusTest, TheModeIsToldOnChange ) {
   status->modeIs( Redundancy::unknown_ );
   EXPECT_THAT( watch->story, IsEmpty() );
   status->modeIs( Redundancy::active_ );
   EXPECT_THAT( watch->story, ElementsAre( "mode" ) );
}

TEST_F( RedundancyStatusTest, Reflection ) {
   EXPECT_THAT( attributeNames( RedundancyStatus::staticType() ), ElementsAre( "name", "mode", "switchoverStage" ) );
   Vor::Reflected const reflected( status );
   reflected.setAt( "switchoverStage", String( "DovraWritable" ), true );
   EXPECT_THAT( reflected.keys( "switchoverStage" ), ElementsAre( Value( String( "DovraWritable" ) ) ) );
   EXPECT_EQ( reflected.getAt( "switchoverStage", String( "DovraWritable" ) ), Value( true ) );
   reflected.deleteAt( "switchoverStage", String( "DovraWritable" ) );
   reflected.set( "mode", String( "active" ) );
   EXPECT_THAT( watch->story, ElementsAre( "DovraWritabletrue", "DovraWritable gone", "mode" ) );
}

}   // namespace
