// The words of the `clockpath` command. Errors are told on standard error; service/Exit.h has the exit codes.
#include "command/CardCommands.h"
#include "command/FileCommands.h"
#include "command/HardwareCommand.h"
#include "command/Help.h"
#include "command/OpenCard.h"
#include "command/RecordingCommands.h"
#include "command/SimulateCommand.h"
#include "command/StandardStreams.h"
#include "command/StateCommands.h"
#include "command/SwitchoverCommands.h"
#include "framework/Trace.h"
#include "input/Json.h"
#include "input/Number.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "service/Exit.h"
#include "service/RunAgent.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace Host {

namespace {

class Words {
 public:
   Words() {
      app_.set_version_flag( "--version", "clockpath " CLOCKPATH_VERSION );
      app_.require_subcommand( 1 );
      app_.footer(
         "Exit codes: 0 all chips ready, or done; 1 a chip not ready, or the hardware did not answer; 2 wrong use or "
         "input." );

      CLI::App & simulated =
         words( "simulate", "Run a scenario on the simulated card in virtual time", simulate_, &simulate );
      simulated.add_option( "SCENARIO", simulate_.scenario, "The scenario file" )->required();
      option(
         simulated, "--events FILE", simulate_.events,
         "Write the event log to FILE; - for standard output, in place of the report" );
      simulated.add_flag( "--strict", simulate_.strict, strictTitle );
      traceWords( simulated, simulate_.traceLevel );

      agentWords();
      roleWords();

      CLI::App & lived =
         words( "hardware", "Simulate the hardware of a card for other processes", hardware_, &hardware );
      lived.add_option( "FILE", hardware_.file, "A card description, or a scenario for its faults" )->required();
      option( lived, "--events FILE", hardware_.events, "Write what reaches the hardware to FILE" );

      registerWords( "peek", "Read registers of a card", &peek );
      registerWords( "poke", "Write registers of a card", &poke )
         .add_flag( "--yes", card_.yes, "Write without asking" );
      registerWords( "dump", "List the registers of a card", &dump );

      stateWords( "status", "Tell how the chips of a card stand", "", 0, 0, &status )
         .add_option( "CARD", state_.card, "The same as --card" );
      stateWords( "inspect", "Show the state that an agent publishes", "NAME ATTRIBUTE", 0, 2, &inspect );
      stateWords( "watch", "Show changes of that state as they come", "NAME ATTRIBUTE", 0, 2, &watch );
      stateWords( "set", "Set an attribute of a running agent", "NAME ATTRIBUTE [KEY] VALUE", 3, 4, &set );
      stateWords(
         "call", "Call an operation of a running agent", "NAME OPERATION ARGUMENT=VALUE", 2, argumentsMax, &call );
      CLI::App & retried = stateWords( "retry", "Bring a chip of a running agent up again", "CHIP", 1, 1, &retry );
      option( retried, "--socket PATH", state_.socket, "In place of both: the agent's socket" );
      retried.add_flag( "--yes", state_.yes, "Also where clocks that run stop by it" );
      CLI::App & typed = words( "types", "List the types that a state can have", state_, &types );
      typed.add_option( "NAME", state_.words, "One type" )->expected( 0, 1 );
      typed.add_flag( "--json", state_.json, jsonTitle );

      CLI::App & explained = words( "explain", "Name the cause that a recording shows", recording_, &explain );
      explained.add_option( "FILE", recording_.file, "The recording, as --events writes it" )->required();
      explained.add_flag( "--strict", recording_.strict, strictTitle );
      explained.add_flag( "--json", recording_.json, jsonTitle );

      auditWords( "audit", "Compare a card with what its sequences left there", &audit );
      CLI::App & tested = auditWords( "selftest", "Test a card, and leave its chips in reset", &selfTest );
      tested.add_flag( "--online", card_.online, "Only read: what is not disturbed by it" );
      tested.add_flag( "--yes", card_.yes, "Test without asking" );

      CLI::App & checked = words( "check", "Tell what is wrong in files, and how long they take", file_, &check );
      checked.add_option( "FILE", file_.file, "A card description, a scenario or a sequence" )->required();
      checked.add_flag( "--strict", file_.strict, strictTitle );
      checked.add_flag( "--json", file_.json, jsonTitle );

      CLI::App & sequenced = words( "sequence", "Print a sequence in another form, or compare two", file_, &sequence );
      sequenced.add_option( "FILE", file_.file, "The sequence file" )->required();
      sequenced.add_flag( "--list", file_.list, "FILE is a list of lines ADDRESS,VALUE in hexadecimal" );
      sequenced.add_flag( "--read-back", file_.readBack, "Add a read of what was written behind each write" );
      CLI::Option * const textForm =
         sequenced.add_flag( "--op", file_.textForm, "Print the operations with their keys, in the full form" );
      option( sequenced, "--compare FILE", file_.compareWith, "Tell what another sequence leaves in the registers" )
         ->excludes( textForm );

      option(
         recordingWords( "replay", "Run the library again by a recording, and tell what differs first", &replay ),
         "--events FILE", recording_.out, "Write the event log of the replay to FILE" );
      option(
         recordingWords( "wave", "Write the signals of a recording as a VCD", &wave ), "-o OUT", recording_.out,
         "The VCD; FILE with the ending .vcd unless told" );
      option(
         recordingWords( "bundle", "Pack a recording and what belongs to it into one archive", &bundle ), "-o OUT",
         recording_.out, "The archive; FILE with the ending .tar.gz unless told" );
      CLI::App & told = recordingWords( "journal", "Tell what an event log has", &journal );
      CLI::Option * const operations =
         told.add_flag( "--operations", recording_.operations, "List each operation of each attempt" );
      told.add_flag( "--json", recording_.json, "For programs, with all operations" )->excludes( operations );
      option(
         recordingWords( "page", "Write a recording as a page for a browser", &page ), "-o OUT", recording_.out,
         "The page; FILE with the ending .html unless told" );

      helpWords();
   }

   /// Does what the words ask for and gives the exit code.
   int run( int argc, char const * const * argv ) {
      if ( argc > 1 ) requireCommand( argv[1] );
      if ( argc > 2 ) requireOptions( { argv + 1, argv + argc } );
      try {
         app_.parse( argc, argv );
      } catch ( CLI::ParseError const & error ) {
         return app_.exit( error ) == 0 ? exitReady : exitWrongUse;
      }
      return result_;
   }

 private:
   static constexpr char strictTitle[] = "Give 1 for warnings";
   static constexpr char jsonTitle[] = "For programs";
   static constexpr int argumentsMax = 100;

   // The parser's own words for an unknown command do not say which word it is.
   void requireCommand( std::string const & word ) const {
      if ( word.starts_with( "-" ) ) return;
      std::vector<std::string_view> known;
      for ( CLI::App const * command : app_.get_subcommands( {} ) ) known.push_back( command->get_name() );
      if ( std::find( known.begin(), known.end(), word ) != known.end() ) return;
      std::string_view const near = Input::nearestChoice( word, known );
      throw Input::InputError(
         "there is no command \"" + word + "\"; " +
         ( near.empty() ? "" : "did you mean \"" + std::string( near ) + "\"? " ) + "Expected " +
         Input::choicesText( known ) + ". Run clockpath --help for more." );
   }

   // Nor does it name the option that was meant.
   void requireOptions( std::vector<std::string> const & words ) const {
      if ( words.front().starts_with( "-" ) ) return;
      CLI::App const * const command = app_.get_subcommand( words.front() );
      std::vector<std::string> names;
      for ( CLI::Option const * option : command->get_options() )
         for ( std::string const & name : option->get_lnames() ) names.push_back( "--" + name );
      std::vector<std::string_view> const known( names.begin(), names.end() );
      for ( auto word = words.begin() + 1; word != words.end() && *word != "--"; ++word )
         if ( std::string const name = word->substr( 0, word->find( '=' ) );
              name.starts_with( "--" ) && std::ranges::find( known, name ) == known.end() )
            throw Input::InputError(
               Input::unknownText( "option of " + words.front(), name, known ) + ". Run clockpath " + words.front() +
               " --help for more." );
   }

   template<class Options>
   CLI::App & words(
      std::string const & name, std::string const & title, Options & options, int ( *command )( Options const & ) ) {
      CLI::App & words = *app_.add_subcommand( name, title );
      words.callback( [this, command, &options] { result_ = command( options ); } );
      return words;
   }

   void agentWords() {
      CLI::App & words = *app_.add_subcommand( "agent", "Look after the chips of a card in real time" );
      words.add_option( "CARD", card_.card, "The card description" )->required();
      CLI::Option * const timeSync = enumerator<PtpTimeSync::OperationalState>(
         words, "--time-sync", agent_.timeSync, "State of PTP time synchronisation, or its number from 0" );
      words
         .add_flag_callback(
            "--await-time-sync", [this] { agent_.timeSync.reset(); },
            "Wait until it is set on the running agent, before a chip is looked after" )
         ->excludes( timeSync );
      CLI::Option * const ptp =
         option( words, "--ptp SOCKET", agent_.ptp.socket, "Follow the PTP daemon there: /run/ptp4l of linuxptp" );
      ptp->excludes( timeSync )->excludes( "--await-time-sync" );
      option( words, "--ptp-domain N", agent_.ptp.domain, "The daemon's domain" )
         ->capture_default_str()
         ->needs( ptp )
         ->check( CLI::Range( 0U, 255U ) );
      option( words, "--holdover S", agent_.ptp.holdoverSeconds, "How long a lost lock of it is held over, in seconds" )
         ->capture_default_str()
         ->needs( ptp )
         ->check( CLI::Range( 0.0, 1e9 ) );
      enumerator<Redundancy::RedundancyMode>(
         words, "--redundancy-mode", agent_.redundancyMode, "Mode of the supervisor, or its number from 0" );
      option(
         words, "--timer-slack N", agent_.timerSlackNs,
         "How late the kernel may end the agent's sleeps, in nanoseconds; 0 leaves it to the system" )
         ->capture_default_str();
      option( words, "--events FILE", agent_.events, "Write the event log to FILE" );
      option(
         words, "--failures DIR", agent_.failures,
         "Keep the recordings of failed bring-ups in DIR, where there is no --events" )
         ->capture_default_str();
      words.add_flag( "--forget", agent_.forget, "Forget the first failures that stand there" );
      option( words, "--state PLACE", agent_.state, "Publish the state there: FILE.db, or a Redis server" );
      option( words, "--socket PATH", agent_.socket, "Take requests there" );
      choice(
         words.add_option( "--role", agent_.role, "Of this agent: single, or of two supervisors active or standby" ),
         { "single", "active", "standby" },
         []( std::size_t place ) { return std::to_string( place ); } );   // as Role counts them
      option( words, "--generation N", agent_.generation, "Of an active supervisor, as whoever decides counts them" );
      option( words, "--watch SECONDS", agent_.watchSeconds, "How often it looks at chips that are ready; 0: never" )
         ->capture_default_str()
         ->check( CLI::Range( 0.0, 1e6 ) );
      option( words, "--metrics PLACE", agent_.metrics, "Tell metrics: in a FILE, or over HTTP at 127.0.0.1:PORT" );
      traceWords( words, agent_.traceLevel );
      words.callback( [this] {
         Input::CardDescription const card = Input::readCard( card_.card );
         // With an unknown operation the process would not live to the end of the bring-up.
         warningsTell( card, card_.card, true );
         simulationModeTell();
         result_ = runAgent( card, agent_ );
      } );
   }

   void roleWords() {
      CLI::App & told = words( "role", "Tell an agent whether it is active or stands by", role_, &role );
      choice( told.add_option( "ROLE", role_.role, "What it is from now on" )->required(), { "active", "standby" } );
      option( told, "--socket PATH", role_.socket, "The agent's socket" )->required();
      option(
         told, "--generation N", role_.generation,
         "Of the active supervisor, as whoever decides counts them; the next one unless told" );
      CLI::App & shown = words(
         "demo-switchover", "Show on a simulated card how one supervisor takes over from another", demo_,
         &demoSwitchover );
      shown.add_option( "CARD", demo_.card, "A card description" )->required();
      option( shown, "--detection MS", demo_.detectionMs, "How long a supervisor is silent before the other is told" )
         ->capture_default_str();
   }

   CLI::App & stateWords(
      std::string const & name, std::string const & title, std::string const & what, int least, int most,
      int ( *command )( StateOptions const & ) ) {
      CLI::App & state = words( name, title, state_, command );
      option( state, "--state WHERE", state_.state, "The state: FILE.db, or the URL of a server" );
      option( state, "--card CARD", state_.card, "In its place: where the agent of that card usually keeps it" );
      state.add_flag( "--json", state_.json, jsonTitle );
      if ( most > 0 ) state.add_option( what, state_.words, "Names as inspect shows them" )->expected( least, most );
      if ( least > 0 ) state.get_option( what )->required();
      return state;
   }

   CLI::App &
   registerWords( std::string const & name, std::string const & title, int ( *command )( CardOptions const & ) ) {
      CLI::App & words = cardWords( name, title );
      std::string const word = name == "poke" ? "REGISTER=VALUE" : "REGISTER";
      words.add_option( word, card_.words, "CHIP.NAME, CHIP:NUMBER, an output's name, or an address such as 0x2000" )
         ->expected( 0, -1 );
      words.callback( [this, command, name, word] {
         // With a scenario there is no CARD, and the first word is a register.
         if ( !card_.after.empty() && !card_.card.empty() )
            card_.words.insert( card_.words.begin(), std::exchange( card_.card, "" ) );
         requireCard();
         if ( name != "dump" && card_.words.empty() ) throw CLI::RequiredError( word );
         result_ = command( card_ );
      } );
      return words;
   }

   CLI::App &
   auditWords( std::string const & name, std::string const & title, int ( *command )( CardOptions const & ) ) {
      CLI::App & words = cardWords( name, title );
      option( words, "--tolerance PPM", card_.tolerancePpm, "How far an output's frequency may be off" )
         ->capture_default_str()
         ->check( CLI::Range( 0.0, 1e6 ).description( "" ) );
      words.callback( [this, command] {
         if ( !card_.after.empty() && !card_.card.empty() ) throw CLI::ExcludesError( "CARD", "--after" );
         requireCard();
         result_ = command( card_ );
      } );
      return words;
   }

   CLI::App & cardWords( std::string const & name, std::string const & title ) {
      CLI::App & words = *app_.add_subcommand( name, title );
      words.add_option( "CARD", card_.card, "The card description; none with --after" );
      option( words, "--after SCENARIO", card_.after, "The card of a scenario, as it stands at the end of that" );
      words.add_flag( "--json", card_.json, jsonTitle );
      return words;
   }

   void requireCard() const {
      if ( card_.card.empty() && card_.after.empty() ) throw CLI::RequiredError( "CARD" );
   }

   CLI::App &
   recordingWords( std::string const & name, std::string const & title, int ( *command )( RecordingOptions const & ) ) {
      CLI::App & recording = words( name, title, recording_, command );
      recording.add_option( "FILE", recording_.file, "The event log, or a bundle with one" )->required();
      return recording;
   }

   static void traceWords( CLI::App & command, std::optional<U32> & level ) {
      option(
         command, "--trace N", level,
         fmt::format( "Show the library's traces up to level N, 0 to {}", Vor::traceLevels - 1 ) )
         ->check( CLI::Range( 0U, Vor::traceLevels - 1 ).description( "" ) );
   }

   void helpWords() {
      CLI::App & helped = *app_.add_subcommand( "help", "Show the help of a command" );
      CLI::Option * const command = helped.add_option( "COMMAND", help_.command, "The command; all of it unless told" );
      CLI::Option * const man = helped.add_flag( "--man", help_.man, "As the source of a man page" );
      option( helped, "--into DIR", help_.into, "Write all man pages and completions there, as below a prefix's share" )
         ->excludes( man )
         ->excludes( command );
      helped.callback( [this] {
         result_ = exitReady;
         if ( !help_.into.empty() ) return helpWrite( app_, help_.into );
         if ( !help_.command.empty() ) requireCommand( help_.command );
         bool const whole = help_.command.empty();
         CLI::App const & told = whole ? app_ : *app_.get_subcommand( help_.command );
         std::string const name = app_.get_name() + ( whole ? "" : " " + help_.command );
         std::cout
            << ( help_.man ? manPage( app_, told )
                           : told.get_formatter()->make_help( &told, name, CLI::AppFormatMode::Normal ) );
      } );
      CLI::App & completed = *app_.add_subcommand( "completion", "Print what a shell takes to complete these words" );
      choice( completed.add_option( "SHELL", help_.shell, "The shell" )->required(), { shells.begin(), shells.end() } );
      completed.callback( [this] {
         std::cout << completion( app_, help_.shell );
         result_ = exitReady;
      } );
   }

   // `words`: the option, and what it takes: "--trace N".
   template<class Value>
   static CLI::Option *
   option( CLI::App & command, std::string const & words, Value & value, std::string const & title ) {
      std::size_t const blank = words.find( ' ' );
      CLI::Option * const option =
         command.add_option( words.substr( 0, blank ), value, title )->type_name( words.substr( blank + 1 ) );
      // The parser would read 010 as 8.
      if constexpr ( std::is_convertible_v<U32, Value> && !std::is_floating_point_v<Value> )
         option->transform( []( std::string const & text ) { return numberText( text ).value_or( text ); } );
      return option;
   }

   static std::optional<std::string> numberText( std::string const & text ) {
      auto const number = Input::numberOf( text );
      return number ? std::optional( std::to_string( *number ) ) : std::nullopt;
   }

   // The option takes one of the names, and is given what `given` makes of its place; where `numbers`, any number too.
   using Names = std::vector<std::string_view>;
   static CLI::Option * choice( CLI::Option * option, Names const & names, auto const & given, bool numbers = false ) {
      std::string const title = option->get_name();
      return option->type_name( fmt::format( "{}", fmt::join( names, "|" ) ) )
         ->transform( [=]( std::string const & text ) {
            if ( auto const number = numberText( text ); number && numbers ) return *number;
            auto const found = std::ranges::find( names, text );
            if ( found == names.end() )
               throw Input::InputError(
                  Input::unknownText( title, text, names ) + ( numbers ? ". A number does as well." : "" ) );
            return given( static_cast<std::size_t>( found - names.begin() ) );
         } );
   }
   static CLI::Option * choice( CLI::Option * option, Names const & names ) {
      return choice( option, names, [names]( std::size_t place ) { return std::string( names[place] ); } );
   }

   // An option that takes the text of an enumerator, or a number.
   template<Vor::Enumeration E, class Value>
   static CLI::Option *
   enumerator( CLI::App & command, std::string const & name, Value & value, std::string const & title ) {
      auto const all = enumType( E{} ).enumerators();
      auto const numberAt = [all]( std::size_t place ) { return std::to_string( all[place].value ); };
      Vor::String const usual = enumType( E{} ).stringValue( std::optional<U32>( value ).value_or( 0 ) );
      return choice(
                command.add_option( name, value, title ), Input::namesOf( all, &Vor::Enumerator::text ), numberAt,
                true )
         ->default_str( usual.stdString() );
   }

   CLI::App app_{ "Brings up the PTP clocking path of a card.", "clockpath" };
   SimulateOptions simulate_;
   AgentOptions agent_;
   HardwareOptions hardware_;
   CardOptions card_;
   StateOptions state_;
   FileOptions file_;
   RecordingOptions recording_;
   RoleOptions role_;
   SwitchoverDemoOptions demo_;
   struct {
      std::string command, into, shell;
      bool man = false;
   } help_;
   int result_ = exitWrongUse;   // of the command that the words chose
};

}   // namespace

}   // namespace Host

namespace {

int failed( char const * before, std::exception const & error, int exitCode ) {
   std::cout.flush();
   std::cerr << "clockpath: " << before << error.what() << '\n';
   return exitCode;
}

}   // namespace

int main( int argc, char ** argv ) {
   Host::standardStreamsOpen();
   try {
      return Host::afterOutput( Host::Words().run( argc, argv ) );
   } catch ( Input::InputError const & error ) {
      return failed( "", error, Host::exitWrongUse );
   } catch ( Host::CardUnavailable const & error ) {
      return failed( "", error, Host::exitNotReady );
   } catch ( Vor::LogUnavailableException const & error ) {
      return failed( "", error, Host::exitNotReady );
   } catch ( std::exception const & error ) {
      return failed( "unexpected: ", error, Host::exitNotReady );
   }
}
