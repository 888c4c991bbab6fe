#include "inventory/InvMax24305.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Inventory::Max24305Tests {
namespace {

using namespace Hardware::Max24305;
using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;
using Vor::String;
using Vor::Value;
using Record = Inventory::Max24305;

struct RecordWatch final : Record::NotifieeConst {
   void onConfigBlock() override { story.push_back( "configBlock" ); }
   void onStatusBlock() override { story.push_back( "statusBlock" ); }
   void onReset() override { story.push_back( "reset" ); }
   void onRole() override { story.push_back( "role" ); }
   void onInput() override { story.push_back( "input" ); }
   void onProgramSeq() override { story.push_back( "programSeq" ); }
   void onOutputFrequencyInHz() override { story.push_back( "outputFrequencyInHz" ); }
   void onOpsToDo( U32 index ) override { story.push_back( "op " + std::to_string( index ) ); }
   void onOpsToDo() override { story.push_back( "all ops" ); }
   void onOpsToDoMetadata() override { story.push_back( "metadata" ); }
   std::vector<std::string> story;
};

class InvMax24305Test : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<Record const>( record ) ); }
   Ptr<Fru::Ham> ham = Fru::hamFactory( "kiv" );
   Ptr<Record> record = max24305Factory( "ptp0" );
   Ptr<RecordWatch> watch = new RecordWatch;
};

TEST_F( InvMax24305Test, ANewRecordIsForTimeSynchronisation ) {
   EXPECT_EQ( record->name(), "ptp0" );
   EXPECT_EQ( record->role(), timeSync_ );
   EXPECT_EQ( record->input(), noInput_ );
   EXPECT_EQ( record->programSeq(), ic1In10_oc1Out10_ );
   EXPECT_EQ( record->outputFrequencyInHz(), 0u );
   EXPECT_EQ( record->configBlock(), nullptr );
   EXPECT_EQ( record->statusBlock(), nullptr );
   EXPECT_EQ( record->reset(), nullptr );
   EXPECT_TRUE( record->opsToDo().empty() );
   EXPECT_EQ( record->opsToDoMetadata(), Record::OpsToDoMetadata() );
}

TEST_F( InvMax24305Test, TheRoleThatStandsThereIsSilent ) {
   record->roleIs( timeSync_ );
   EXPECT_THAT( watch->story, IsEmpty() );
   record->roleIs( unknown_ );
   EXPECT_THAT( watch->story, ElementsAre( "role" ) );
}

TEST_F( InvMax24305Test, EverySetterTellsOnceOfAChange ) {
   Ptr<Max24305ConfigBlock> const configBlock = new Max24305ConfigBlock( ham, 0x100, true );
   Ptr<Max24305StatusBlock> const statusBlock = new Max24305StatusBlock( ham, 0x200 );
   Ptr<Gpo> const reset = new Gpo( "ptp0Reset" );
   for ( int round = 0; round < 2; ++round ) {
      record->configBlockIs( configBlock );
      record->statusBlockIs( statusBlock );
      record->resetIs( reset );
      record->roleIs( unknown_ );
      record->inputIs( tolvane_ );
      record->programSeqIs( mClkIn25_oc1Out10_ );
      record->outputFrequencyInHzIs( 10'000'000 );
   }
   EXPECT_THAT(
      watch->story,
      ElementsAre( "configBlock", "statusBlock", "reset", "role", "input", "programSeq", "outputFrequencyInHz" ) );
   EXPECT_EQ( record->configBlock(), configBlock );
   EXPECT_EQ( record->statusBlock(), statusBlock );
   EXPECT_EQ( record->reset(), reset );
}

TEST_F( InvMax24305Test, CleanupEmptiesTheQueueAndNothingElse ) {
   Ptr<Gpo> const reset = new Gpo( "ptp0Reset" );
   record->resetIs( reset );
   record->roleIs( unknown_ );
   record->inputIs( stuffedClock_ );
   record->outputFrequencyInHzIs( 5 );
   record->opsToDoMetadataIs( { 1, 2 } );
   record->opsToDoEnq( Op( 1, write_, 2, 3 ) );
   record->opsToDoEnq( Op( 2, write_, 2, 3 ) );
   watch->story.clear();
   record->doCleanup();
   EXPECT_THAT( watch->story, ElementsAre( "op 0", "op 1" ) );
   EXPECT_TRUE( record->opsToDo().empty() );
   EXPECT_EQ( record->reset(), reset );
   EXPECT_EQ( record->role(), unknown_ );
   EXPECT_EQ( record->input(), stuffedClock_ );
   EXPECT_EQ( record->outputFrequencyInHz(), 5u );
   EXPECT_EQ( record->opsToDoMetadata(), Record::OpsToDoMetadata( 1, 2 ) );
}

TEST_F( InvMax24305Test, Reflection ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : Record::staticType().attributes() )
      if ( attribute.kind != Vor::Attribute::Kind::operation ) names.push_back( attribute.name );
   EXPECT_THAT(
      names, ElementsAre(
                "name", "configBlock", "statusBlock", "reset", "role", "input", "programSeq", "outputFrequencyInHz",
                "opsToDo", "opsToDoMetadata" ) );
   Vor::NamedValue const arguments[] = { { "name", String( "made" ) } };
   Ptr<Record> const made = Vor::ptrCast<Record>( Record::staticType().make( arguments ) );
   EXPECT_EQ( made->name(), "made" );
   Vor::Reflected const reflected( made );
   Ptr<Gpo> const reset = new Gpo( "r" );
   reflected.set( "reset", Vor::toValue( reset ) );
   EXPECT_EQ( made->reset(), reset );
   // An output is no register block.
   EXPECT_THROW( reflected.set( "configBlock", Vor::toValue( reset ) ), Vor::RangeException );
   reflected.set( "programSeq", String( "mClkIn25_oc1Out10" ) );
   reflected.setAt( "opsToDo", U64{ 4 }, Vor::toValue( Op( 5, read_, 0, 60 ) ) );
   reflected.call( "doCleanup" );
   EXPECT_TRUE( made->opsToDo().empty() );
   EXPECT_EQ( made->programSeq(), mClkIn25_oc1Out10_ );
   EXPECT_THROW( reflected.set( "name", String( "other" ) ), Vor::OperationNotSupportedException );
}

}   // namespace
}   // namespace Inventory::Max24305Tests
