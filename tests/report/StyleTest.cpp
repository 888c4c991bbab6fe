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

using Rows = std::vector<std::string>;

TEST( Style, LongTextIsWrappedBetweenWords ) {
   EXPECT_EQ( wrapped( "", 10 ), Rows{ "" } );
   EXPECT_EQ( wrapped( "0123456789", 10 ), Rows{ "0123456789" } );
   EXPECT_EQ( wrapped( "one two three four", 10 ), ( Rows{ "one two", "three four" } ) );
   EXPECT_EQ( wrapped( "0123456789abcdef gh", 10 ), ( Rows{ "0123456789", "abcdef gh" } ) );
   EXPECT_EQ( wrapped( "ein \xC2\xB5s lang", 6 ), ( Rows{ "ein \xC2\xB5s", "lang" } ) );
   EXPECT_EQ( wrapped( "\xC2\xB5\xC2\xB5\xC2\xB5", 2 ), ( Rows{ "\xC2\xB5\xC2\xB5", "\xC2\xB5" } ) );
}

TEST( Style, ARowEndsBehindACommaWhereThatLeavesHalfOfIt ) {
   EXPECT_EQ( wrapped( "one, two three", 10 ), ( Rows{ "one, two", "three" } ) );
   EXPECT_EQ( wrapped( "one two, four five", 13 ), ( Rows{ "one two,", "four five" } ) );
   EXPECT_EQ( wrapped( "one two; four five", 13 ), ( Rows{ "one two;", "four five" } ) );
   EXPECT_EQ( wrapped( "one two; three, four five", 14 ), ( Rows{ "one two;", "three, four", "five" } ) );
   EXPECT_EQ( wrapped( "one 2,5 four five", 13 ), ( Rows{ "one 2,5 four", "five" } ) ) << "no end of a part";
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

TEST( Table, TheWidestCellsAreWrappedWhereALineIsNoLonger ) {
   Table table( { "Chip", "Registers" } );
   std::string const word( 60, 'x' );
   table.rowAdd( { "ptp0", word + " " + word } );
   table.rowAdd( { "ptp1", "short" } );
   EXPECT_EQ( table.text( Style( false ) ), "Chip  Registers\nptp0  " + word + "\n      " + word + "\nptp1  short\n" );
}

}   // namespace
