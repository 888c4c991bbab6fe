#include "platform/Ham.h"

#include "framework/Reflection.h"
#include "platform/InventoryBlocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Fru {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vor::Ptr;

static_assert( std::is_abstract_v<HamImpl> );

struct NoHardware final : HamImpl {
   NoHardware() : HamImpl( "none" ) {}
   void read32( U32, U32 & value ) override { value = 0; }
   void write32( U32, U32 ) override {}
};

struct ImplWatch final : HamImpl::NotifieeConst {
   void onSize() override { story.push_back( "size" ); }
   void onOffset() override { story.push_back( "offset" ); }
   void onHardwarePresent() override { story.push_back( notifier()->hardwarePresent() ? "present" : "absent" ); }
   void onHardwareInstanceId() override { story.push_back( "hardwareInstanceId" ); }
   void onReadDriverParameterResult() override { story.push_back( "readDriverParameterResult" ); }
   void onFilename() override { story.push_back( "filename" ); }
   void onKind() override { story.push_back( "kind" ); }
   void onTestReadAllFs() override { story.push_back( "testReadAllFs" ); }
   void onTestReadAllFsCounter() override { story.push_back( "testReadAllFsCounter" ); }
   std::vector<std::string> story;
};

class HamImplTest : public testing::Test {
 protected:
   void SetUp() override { watch->notifierIs( Ptr<HamImpl const>( impl ) ); }
   Ptr<NoHardware> impl = new NoHardware;
   Ptr<ImplWatch> watch = new ImplWatch;
};

TEST_F( HamImplTest, TheHardwareIsAbsentAtFirst ) {
   EXPECT_FALSE( impl->hardwarePresent() );
   impl->hardwarePresentIs( false );
   EXPECT_THAT( watch->story, IsEmpty() );
}

TEST_F( HamImplTest, PresenceIsToldOnChange ) {
   impl->hardwarePresentIs( true );
   impl->hardwarePresentIs( true );
   impl->hardwarePresentIs( false );
   EXPECT_THAT( watch->story, ElementsAre( "present", "absent" ) );
}

TEST_F( HamImplTest, EveryAttributeHasItsCallback ) {
   impl->sizeIs( 1 );
   impl->offsetIs( 0x1'0000'0000 );
   impl->hardwarePresentIs( true );
   impl->hardwareInstanceIdIs( 1 );
   impl->readDriverParameterResultIs( 1 );
   impl->filenameIs( "f" );
   impl->kindIs( "k" );
   impl->testReadAllFsIs( true );
   impl->testReadAllFsCounterIs( 1 );
   EXPECT_THAT(
      watch->story, ElementsAre(
                       "size", "offset", "present", "hardwareInstanceId", "readDriverParameterResult", "filename",
                       "kind", "testReadAllFs", "testReadAllFsCounter" ) );
   EXPECT_EQ( impl->offset(), 0x1'0000'0000u );
   EXPECT_EQ( impl->filename(), "f" );
}

TEST_F( HamImplTest, AttributesStandInOrder ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : impl->fwkType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT(
      names, ElementsAre(
                "name", "size", "offset", "hardwarePresent", "hardwareInstanceId", "readDriverParameterResult",
                "filename", "kind", "testReadAllFs", "testReadAllFsCounter" ) );
   Vor::Reflected( impl ).set( "hardwarePresent", true );
   EXPECT_THAT( watch->story, ElementsAre( "present" ) );
   EXPECT_THROW( impl->fwkType().make( {} ), Vor::OperationNotSupportedException );
}

TEST( Ham, HasNoImplementationAtFirst ) {
   Ptr<Ham> const ham = hamFactory( "kiv" );
   EXPECT_EQ( ham->hamImpl(), nullptr );
   EXPECT_STREQ( ham->fwkType().name(), "Fru::Ham" );
}

TEST( Ham, TheImplementationIsToldOnChange ) {
   struct HamWatch final : Ham::NotifieeConst {
      void onHamImpl() override { ++told; }
      int told = 0;
   };
   Ptr<Ham> const ham = hamFactory( "kiv" );
   Ptr<HamWatch> const watch = new HamWatch;
   watch->notifierIs( Ptr<Ham const>( ham ) );
   Ptr<HamImpl> const impl = new NoHardware;
   ham->hamImplIs( impl );
   ham->hamImplIs( impl );
   EXPECT_EQ( watch->told, 1 );
   EXPECT_EQ( Ptr<Ham const>( ham )->hamImpl(), impl );
   ham->hamImplIs( nullptr );
   EXPECT_EQ( watch->told, 2 );
   EXPECT_EQ( impl->references(), 1 );
}

TEST( InventoryBlocks, KeepWhatTheyAreMadeFrom ) {
   Ptr<Ham> const ham = hamFactory( "kiv" );
   Ptr<Inventory::Max24305ConfigBlock> const config = new Inventory::Max24305ConfigBlock( ham, 0x100, true );
   EXPECT_EQ( config->ham(), ham );
   EXPECT_EQ( config->offset(), 0x100u );
   EXPECT_TRUE( config->spiResetSupported() );
   Ptr<Inventory::TolvaneBlock> const block = new Inventory::TolvaneBlock( ham, 0x3000 );
   EXPECT_EQ( block->offset(), 0x3000u );
   EXPECT_EQ( Ptr<Inventory::Gpo>( new Inventory::Gpo( "osc0Reset" ) )->name(), "osc0Reset" );
   static_assert( !std::is_same_v<Inventory::TolvaneBlock, Inventory::Max24305StatusBlock> );
}

}   // namespace
}   // namespace Fru
