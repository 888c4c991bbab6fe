#include "report/Style.h"

#include <gtest/gtest.h>

namespace {

using namespace Host;

TEST( Style, PaintsOnlyWhereColourIsWanted ) {
   EXPECT_EQ( Style( false ).good( "ready" ), "ready" );
   EXPECT_EQ( Style( true ).good( "ready" ), "\033[32mready\033[0m" );
   EXPECT_EQ( Style( true ).bad( "" ), "" );
}

TEST( Style, AFileIsNoTerminal ) { EXPECT_FALSE( styleOf( -1 ).colour() ); }

TEST( Style, WidthCountsWhatIsShown ) {
   EXPECT_EQ( shownWidth( "ready" ), 5u );
   EXPECT_EQ( shownWidth( Style( true ).good( "ready" ) ), 5u );
   EXPECT_EQ( shownWidth( "\xC2\xB5s" ), 2u );
   EXPECT_EQ( padded( Style( true ).good( "a" ), 3 ), "\033[32ma\033[0m  " );
   EXPECT_EQ( padded( "abcd", 3 ), "abcd" );
}

TEST( Table, AlignsItsColumns ) {
   Table table( { "Chip", "State", "Polls" } );
   table.rowAdd( { "ptp0", Style( true ).good( "ready" ), "4" } );
   table.rowAdd( { "a-long-name", "", "101" } );
   table.rowAdd( { "x" } );
   EXPECT_EQ(
      table.text( Style( false ) ), "Chip         State  Polls\n"
                                    "ptp0         \033[32mready\033[0m  4\n"
                                    "a-long-name         101\n"
                                    "x\n" );
}

}   // namespace
