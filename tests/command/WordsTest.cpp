// The words of the command: nearest ones, words for numbers, and what is made of their description.
#include "input/Json.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <set>

namespace {

using namespace Host;
using ::testing::HasSubstr;

std::string refused( std::vector<std::string> const & words ) {
   Ran const ran = run( words );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ( ran.output, "" );
   return ran.errors;
}

TEST( Words, AnUnknownOptionIsAnsweredWithTheNearest ) {
   EXPECT_EQ(
      refused( { "check", "card.json", "--strct" } ),
      "clockpath: there is no option of check \"--strct\"; did you mean \"--strict\"? Expected \"--help\", "
      "\"--strict\" or \"--json\". Run clockpath check --help for more.\n" );
   EXPECT_THAT( refused( { "simulate", "a", "--event=x" } ), HasSubstr( "did you mean \"--events\"?" ) );
   // Behind "--" there are no options.
   EXPECT_THAT( refused( { "simulate", "--", "--strct" } ), HasSubstr( "--strct: cannot be read" ) );
}

TEST( Words, AnUnknownChoiceIsAnsweredWithTheNearest ) {
   EXPECT_EQ(
      refused( { "agent", "card.json", "--time-sync", "lokced" } ),
      "clockpath: there is no --time-sync \"lokced\"; did you mean \"locked\"? Expected \"disabled\", \"enabling\", "
      "\"acquiring\", \"locked\" or \"holdover\". A number does as well.\n" );
   EXPECT_THAT(
      refused( { "agent", "card.json", "--redundancy-mode", "coldstandby" } ), HasSubstr( "mean \"coldStandby\"?" ) );
   EXPECT_THAT( refused( { "agent", "card.json", "--role", "3" } ), HasSubstr( "there is no --role \"3\"; expected" ) );
   EXPECT_THAT( refused( { "role", "activ", "--socket", "x" } ), HasSubstr( "did you mean \"active\"?" ) );
   EXPECT_THAT( refused( { "help", "simulte" } ), HasSubstr( "did you mean \"simulate\"?" ) );
}

TEST( Words, StatesAndModesHaveWordsAndNumbersOfAnyForm ) {
   Input::Folder const folder;
   std::string const card = folder.file( "card.json", R"(
      { "access": { "kind": "mmap", "path": "absent", "size": 16384 },
        "gpos": [ { "name": "osc0Reset", "offset": 8192, "bit": 4 } ],
        "chips": [ { "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" } ] })" );
   auto const startOf = [&]( std::string const & timeSync, std::string const & mode ) {
      Process agent(
         { "agent", card, "--time-sync", timeSync, "--redundancy-mode", mode, "--events", folder.path( "events" ) } );
      EXPECT_TRUE( agent.outputHas( "waiting for the card" ) );
      agent.signal( SIGTERM );
      agent.result();
      std::istringstream events( folder.content( "events" ) );
      std::string first;
      std::getline( events, first );
      Input::Json const start = Input::Json::parse( first ).at( "start" );
      return std::pair( start.at( "timeSync" ).get<U32>(), start.at( "redundancyMode" ).get<U32>() );
   };
   EXPECT_EQ( startOf( "holdover", "simplex" ), std::pair( 4U, 1U ) );
   EXPECT_EQ( startOf( "0x2", "010" ), std::pair( 2U, 10U ) );
}

TEST( Words, HelpTellsTheWordsOfNumbers ) {
   Ran const help = run( { "help", "agent" } );
   EXPECT_EQ( help.result, 0 );
   EXPECT_EQ( help.output, run( { "agent", "--help" } ).output );
   EXPECT_THAT( help.output, HasSubstr( "--time-sync disabled|enabling|acquiring|locked|holdover=enabling" ) );
   EXPECT_THAT( help.output, HasSubstr( "switchover|active=standby" ) );
   EXPECT_EQ( run( { "help" } ).output, run( { "--help" } ).output );
}

std::set<std::string> commands() {
   std::set<std::string> names;
   std::istringstream help( run( { "--help" } ).output );
   for ( std::string line; std::getline( help, line ) && line != "Subcommands:"; ) {
   }
   for ( std::string line; std::getline( help, line ) && !line.empty(); )
      if ( line[2] != ' ' ) names.insert( line.substr( 2, line.find( ' ', 2 ) - 2 ) );
   return names;
}

int shell( std::string const & command ) { return std::system( command.c_str() ); }

TEST( Words, EveryCommandHasAManPageThatIsWellFormed ) {
   Input::Folder const folder;
   ASSERT_EQ( run( { "help", "--into", folder.path( "share" ) } ).result, 0 );
   std::set<std::string> const all = commands();
   ASSERT_GE( all.size(), 24U );
   for ( std::string const & name : all ) {
      std::string const page = folder.content( "share/man/man1/clockpath-" + name + ".1" );
      EXPECT_THAT( page, HasSubstr( ".SH NAME\nclockpath\\-" ) ) << name;
      EXPECT_THAT( page, HasSubstr( ".SH OPTIONS\n" ) ) << name;
      EXPECT_EQ( page, run( { "help", name, "--man" } ).output );
   }
   EXPECT_THAT( folder.content( "share/man/man1/clockpath.1" ), HasSubstr( "\\fBdemo\\-switchover\\fR\nShow on" ) );
   EXPECT_EQ( run( { "help", "--into", "/proc/none" } ).result, 2 );
   if ( shell( "command -v groff >/dev/null" ) != 0 ) GTEST_SKIP() << "there is no groff to check the pages with";
   EXPECT_EQ(
      shell(
         "cd " + folder.path( "share/man/man1" ) +
         " && test -z \"$( groff -man -ww -z -Tutf8 *.1 2>&1 | tee words )\"" ),
      0 )
      << folder.content( "share/man/man1/words" );
}

// What bash offers behind these words, the last of which is being written.
std::string completed( std::string const & words ) {
   Input::Folder const folder;
   folder.file( "clockpath", run( { "completion", "bash" } ).output );
   folder.file(
      "ask", ". \"$1/clockpath\"; shift; COMP_WORDS=( \"$@\" ); COMP_CWORD=$(( $# - 1 ))\n"
             "_clockpath || :; echo \"${COMPREPLY[*]}\" >\"$OUT\"" );
   EXPECT_EQ(
      shell(
         "OUT=" + folder.path( "out" ) + " bash -eu " + folder.path( "ask" ) + " " + folder.path( "" ) + " " + words ),
      0 );
   return folder.content( "out" );
}

TEST( Words, BashCompletesCommandsOptionsAndChoices ) {
   EXPECT_EQ( completed( "clockpath sim" ), "simulate\n" );
   EXPECT_EQ( completed( "clockpath agent card.json --time" ), "--time-sync --timer-slack\n" );
   EXPECT_EQ( completed( "clockpath agent --time-sync ''" ), "disabled enabling acquiring locked holdover\n" );
   EXPECT_EQ( completed( "clockpath role ''" ), "active standby\n" );
   EXPECT_EQ( completed( "clockpath help jo" ), "journal\n" );
   EXPECT_EQ( completed( "clockpath simulate ''" ), "\n" ) << "files are left to bash";
   EXPECT_EQ( completed( "clockpath role --socket ac" ), "\n" );
   for ( std::string const & name : commands() ) EXPECT_EQ( completed( "clockpath " + name ).find( name ), 0U ) << name;
}

TEST( Words, OtherShellsReadTheirCompletion ) {
   Input::Folder const folder;
   bool one = false;
   for ( std::string const name : { "zsh", "fish" } ) {
      Ran const script = run( { "completion", name } );
      EXPECT_THAT( script.output, HasSubstr( "demo-switchover" ) );
      if ( shell( "command -v " + name + " >/dev/null" ) != 0 ) continue;
      one = true;
      EXPECT_EQ( shell( name + " -n " + folder.file( name, script.output ) ), 0 );
   }
   if ( !one ) GTEST_SKIP() << "there is neither zsh nor fish to read it";
}

}   // namespace
