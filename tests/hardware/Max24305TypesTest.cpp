#include "hardware/Max24305Types.h"

#include "hardware/Max24305Status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hardware::Max24305 {
namespace {

using Vor::RangeException;
using Vor::String;

/// Checks one enumeration against its table: every text and number, both ways, and what lies around it.
template<class E>
void expectTable(
   char const * name, std::vector<char const *> const & texts, E ( *ofNumber )( unsigned ),
   E ( *ofText )( String const & ) ) {
   Vor::EnumType const & type = enumType( E{} );
   EXPECT_STREQ( type.name(), name );
   ASSERT_EQ( type.enumerators().size(), texts.size() );
   for ( U32 value = 0; value < texts.size(); ++value ) {
      String const text = texts[value];
      E const e = ofNumber( value );
      EXPECT_EQ( U32{ e }, value );
      EXPECT_EQ( ofText( text ), e );
      EXPECT_EQ( stringValue( e ), text );
      EXPECT_EQ( valueToStrep( e ), "'" + text + "'" );
      std::ostringstream out;
      out << e;
      EXPECT_EQ( out.str(), text.stdString() );
      String const strep = valueToStrep( e ) + "rest";
      auto pos = strep.begin();
      EXPECT_EQ( sequenceToValue( pos, strep.end(), static_cast<E *>( nullptr ) ), e );
      EXPECT_EQ( std::string( pos, strep.end() ), "rest" );
   }
   EXPECT_THROW( ofNumber( static_cast<unsigned>( texts.size() ) ), RangeException );
   EXPECT_THROW( ofNumber( 0xFFFFFFFF ), RangeException );
   EXPECT_THROW( ofText( "" ), RangeException );
   EXPECT_THROW( ofText( String( texts[0] ) + "_" ), RangeException );   // the code's name, not its text
}

TEST( Max24305Types, OpType ) {
   expectTable<OpType>(
      "Hardware::Max24305::OpType", { "unknownOp", "read", "write", "sleep" }, OpTypeInstance, OpTypeInstance );
   EXPECT_THROW( OpTypeInstance( 4 ), RangeException );
}

TEST( Max24305Types, Input ) {
   expectTable<Input>(
      "Hardware::Max24305::Input", { "noInput", "tolvane", "stuffedClock" }, InputInstance, InputInstance );
   EXPECT_EQ( InputInstance( 1 ), tolvane_ );
}

TEST( Max24305Types, ProgramSeq ) {
   expectTable<ProgramSeq>(
      "Hardware::Max24305::ProgramSeq", { "ic1In10_oc1Out10", "mClkIn25_oc1Out10" }, ProgramSeqInstance,
      ProgramSeqInstance );
   EXPECT_EQ( U32{ ProgramSeqInstance( "mClkIn25_oc1Out10" ) }, 1u );
}

TEST( Max24305Types, Role ) {
   expectTable<Role>( "Hardware::Max24305::Role", { "unknown", "timeSync" }, RoleInstance, RoleInstance );
   EXPECT_THROW( RoleInstance( 2 ), RangeException );
}

TEST( Max24305Types, State ) {
   expectTable<State>(
      "Hardware::Max24305::State", { "uninitialized", "locking", "ready", "failed" }, StateInstance, StateInstance );
   EXPECT_THROW( StateInstance( 4 ), RangeException );
}

TEST( Max24305Types, TheStateOfANewStatusIsUninitialized ) {
   Vor::Ptr<Status> const status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
   EXPECT_EQ( stringValue( status->state() ), "uninitialized" );
}

}   // namespace
}   // namespace Hardware::Max24305
