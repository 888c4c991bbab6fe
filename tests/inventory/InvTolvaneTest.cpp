#include "inventory/InvTolvane.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Inventory::TolvaneTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;
using Vor::String;
using Record = Inventory::Tolvane;

struct RecordWatch final : Record::NotifieeConst {
   void onBlock() override { story.push_back( "block" ); }
   void onReset() override { story.push_back( "reset" ); }
   void onRole() override { story.push_back( "role" ); }
   std::vector<std::string> story;
};

class InvTolvaneTest : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<Record const>( record ) ); }
   Ptr<Record> record = tolvaneFactory( "osc0" );
   Ptr<RecordWatch> watch = new RecordWatch;
};

TEST_F( InvTolvaneTest, ANewRecordIsForTimeSynchronisation ) {
   EXPECT_EQ( record->name(), "osc0" );
   EXPECT_EQ( stringValue( record->role() ), "timeSync" );
   EXPECT_EQ( record->block(), nullptr );
   EXPECT_EQ( record->reset(), nullptr );
   record->roleIs( Hardware::Tolvane::timeSync_ );
   record->blockIs( nullptr );
   record->resetIs( nullptr );
   EXPECT_THAT( watch->story, IsEmpty() );
}

TEST_F( InvTolvaneTest, EverySetterTellsOnceOfAChange ) {
   Ptr<TolvaneBlock> const block = new TolvaneBlock( Fru::hamFactory( "kiv" ), 0x3000 );
   Ptr<Gpo> const reset = new Gpo( "osc0Reset" );
   for ( int round = 0; round < 2; ++round ) {
      record->blockIs( block );
      record->resetIs( reset );
      record->roleIs( Hardware::Tolvane::unknown_ );
   }
   EXPECT_THAT( watch->story, ElementsAre( "block", "reset", "role" ) );
   EXPECT_EQ( record->block(), block );
   EXPECT_EQ( record->reset(), reset );
}

TEST_F( InvTolvaneTest, Reflection ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : Record::staticType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT( names, ElementsAre( "name", "block", "reset", "role" ) );
   Vor::NamedValue const arguments[] = { { "name", String( "made" ) } };
   Ptr<Record> const made = Vor::ptrCast<Record>( Record::staticType().make( arguments ) );
   Vor::Reflected( made ).set( "role", String( "unknown" ) );
   EXPECT_EQ( made->role(), Hardware::Tolvane::unknown_ );
}

}   // namespace
}   // namespace Inventory::TolvaneTests
