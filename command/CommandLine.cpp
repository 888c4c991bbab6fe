// The words of the `clockpath` command. Errors are told on standard error; service/Exit.h has the exit codes.
#include "command/AuditCommand.h"
#include "command/BundleCommand.h"
#include "command/CheckCommand.h"
#include "command/ExplainCommand.h"
#include "command/JournalCommand.h"
#include "command/PageCommand.h"
#include "command/RegisterCommands.h"
#include "command/ReplayCommand.h"
#include "command/SequenceCommand.h"
#include "command/SimulateCommand.h"
#include "command/WaveCommand.h"
#include "framework/Trace.h"
#include "input/Json.h"
#include "service/Agent.h"
#include "service/Exit.h"

#include <CLI/CLI.hpp>

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
      simulateWords();
      agentWords();
      registerWords( "peek", "Read registers of a card", true, &peek );
      CLI::App * const pokeWords = registerWords( "poke", "Write registers of a card", true, &poke );
      pokeWords->add_flag( "--yes", registers_.yes, "Write without asking" );
      registerWords( "dump", "List the registers of a card", false, &dump );
      explainWords();
      auditWords( "audit", "Compare a card with what its sequences left there", &audit );
      CLI::App * const testWords = auditWords( "selftest", "Test a card, and leave its chips in reset", &selfTest );
      testWords->add_flag( "--online", audit_.online, "Only read: what is not disturbed by it" );
      testWords->add_flag( "--yes", audit_.yes, "Test without asking" );
      checkWords();
      sequenceWords();
      recordingWords( "replay", "Run the library again by a recording, and tell what differs first", replay_, &replay )
         ->add_option( "--events", replay_.events, "Write the event log of the replay to FILE" )
         ->type_name( "FILE" );
      recordingWords( "wave", "Write the signals of a recording as a VCD", made_, &wave )
         ->add_option( "-o", made_.out, "The VCD; FILE with the ending .vcd unless told" )
         ->type_name( "OUT" );
      recordingWords( "bundle", "Pack a recording and what belongs to it into one archive", made_, &bundle )
         ->add_option( "-o", made_.out, "The archive; FILE with the ending .tar.gz unless told" )
         ->type_name( "OUT" );
      CLI::App * const journalWords = recordingWords( "journal", "Tell what an event log has", journal_, &journal );
      CLI::Option * const operations =
         journalWords->add_flag( "--operations", journal_.operations, "List each operation of each attempt" );
      journalWords->add_flag( "--json", journal_.json, "For programs, with all operations" )->excludes( operations );
      recordingWords( "page", "Write a recording as a page for a browser", made_, &page )
         ->add_option( "-o", made_.out, "The page; FILE with the ending .html unless told" )
         ->type_name( "OUT" );
   }

   /// Does what the words ask for and gives the exit code.
   int run( int argc, char const * const * argv ) {
      if ( argc > 1 ) requireCommand( argv[1] );
      try {
         app_.parse( argc, argv );
      } catch ( CLI::ParseError const & error ) {
         return app_.exit( error ) == 0 ? exitReady : exitWrongUse;
      }
      return result_;
   }

 private:
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

   void simulateWords() {
      CLI::App * const command =
         app_.add_subcommand( "simulate", "Run a scenario on the simulated card in virtual time" );
      command->add_option( "SCENARIO", simulate_.scenario, "The scenario file" )->required();
      command
         ->add_option(
            "--events", simulate_.events, "Write the event log to FILE; - for standard output, in place of the report" )
         ->type_name( "FILE" );
      command->add_flag( "--strict", simulate_.strict, "Give 1 for warnings" );
      traceWords( *command, simulate_.traceLevel );
      command->callback( [this] { result_ = simulate( simulate_ ); } );
   }

   void agentWords() {
      CLI::App * const command = app_.add_subcommand( "agent", "Look after the chips of a card in real time" );
      command->add_option( "CARD", agentCard_, "The card description" )->required();
      auto const number = [command]( char const * name, U32 & value, char const * title ) {
         command->add_option( name, value, title )->capture_default_str()->type_name( "N" );
      };
      number( "--time-sync", agent_.timeSync, "State of PTP time synchronisation" );
      number( "--redundancy-mode", agent_.redundancyMode, "Mode of the supervisor" );
      number(
         "--timer-slack", agent_.timerSlackNs,
         "How late the kernel may end the agent's sleeps, in nanoseconds; 0 leaves it to the system" );
      command->add_option( "--events", agent_.events, "Write the event log to FILE" )->type_name( "FILE" );
      command
         ->add_option(
            "--failures", agent_.failures,
            "Keep the recordings of failed bring-ups in DIR, where there is no --events" )
         ->type_name( "DIR" )
         ->capture_default_str();
      command->add_flag( "--forget", agent_.forget, "Forget the first failures that stand there" );
      traceWords( *command, agent_.traceLevel );
      command->callback( [this] { result_ = agent(); } );
   }

   int agent() const {
      Input::CardDescription const card = Input::readCard( agentCard_ );
      // With an unknown operation the process would not live to the end of the bring-up.
      warningsTell( card, agentCard_, true );
      return Agent( card, agent_ ).run();
   }

   void explainWords() {
      CLI::App * const command = app_.add_subcommand( "explain", "Name the cause that a recording shows" );
      command->add_option( "FILE", explain_.file, "The recording, as --events writes it" )->required();
      command->add_flag( "--strict", explain_.strict, "Give 1 for warnings" );
      command->add_flag( "--json", explain_.json, "For programs" );
      command->callback( [this] { result_ = explain( explain_ ); } );
   }

   void checkWords() {
      CLI::App * const command = app_.add_subcommand( "check", "Tell what is wrong in files, and how long they take" );
      command->add_option( "FILE", check_.file, "A card description, a scenario or a sequence" )->required();
      command->add_flag( "--strict", check_.strict, "Give 1 for warnings" );
      command->add_flag( "--json", check_.json, "For programs" );
      command->callback( [this] { result_ = check( check_ ); } );
   }

   void sequenceWords() {
      CLI::App * const command = app_.add_subcommand( "sequence", "Print a sequence in another form, or compare two" );
      command->add_option( "FILE", sequence_.file, "The sequence file" )->required();
      command->add_flag( "--list", sequence_.list, "FILE is a list of lines ADDRESS,VALUE in hexadecimal" );
      command->add_flag( "--read-back", sequence_.readBack, "Add a read of what was written behind each write" );
      CLI::Option * const textForm =
         command->add_flag( "--op", sequence_.textForm, "Print the operations with their keys, in the full form" );
      command->add_option( "--compare", sequence_.compareWith, "Tell what another sequence leaves in the registers" )
         ->type_name( "FILE" )
         ->excludes( textForm );
      command->callback( [this] { result_ = sequence( sequence_ ); } );
   }

   template<class Options>
   CLI::App * recordingWords(
      std::string const & name, std::string const & title, Options & options, int ( *command )( Options const & ) ) {
      CLI::App * const words = app_.add_subcommand( name, title );
      words->add_option( "FILE", options.file, "The event log, or a bundle with one" )->required();
      words->callback( [this, command, &options] { result_ = command( options ); } );
      return words;
   }

   CLI::App * registerWords(
      std::string const & name, std::string const & title, bool wordsRequired,
      int ( *command )( RegisterOptions const & ) ) {
      CLI::App * const words = app_.add_subcommand( name, title );
      cardWords( *words, registers_ );
      words
         ->add_option(
            name == "poke" ? "REGISTER=VALUE" : "REGISTER", registers_.words,
            "CHIP.NAME, CHIP:NUMBER, an output's name, or an address such as 0x2000" )
         ->expected( 0, -1 );
      words->callback( [this, command, wordsRequired, name] {
         // With a scenario there is no CARD, and the first word is a register.
         if ( !registers_.after.empty() && !registers_.card.empty() )
            registers_.words.insert( registers_.words.begin(), std::exchange( registers_.card, "" ) );
         requireCard( registers_ );
         if ( wordsRequired && registers_.words.empty() )
            throw CLI::RequiredError( name == "poke" ? "REGISTER=VALUE" : "REGISTER" );
         result_ = command( registers_ );
      } );
      return words;
   }

   CLI::App *
   auditWords( std::string const & name, std::string const & title, int ( *command )( AuditOptions const & ) ) {
      CLI::App * const words = app_.add_subcommand( name, title );
      cardWords( *words, audit_ );
      words->add_option( "--tolerance", audit_.tolerancePpm, "How far an output's frequency may be off" )
         ->type_name( "PPM" )
         ->capture_default_str()
         ->check( CLI::NonNegativeNumber );
      words->callback( [this, command] {
         if ( !audit_.after.empty() && !audit_.card.empty() ) throw CLI::ExcludesError( "CARD", "--after" );
         requireCard( audit_ );
         result_ = command( audit_ );
      } );
      return words;
   }

   static void cardWords( CLI::App & command, CardOptions & options ) {
      command.add_option( "CARD", options.card, "The card description; none with --after" );
      command.add_option( "--after", options.after, "The card of a scenario, as it stands at the end of that" )
         ->type_name( "SCENARIO" );
      command.add_flag( "--json", options.json, "For programs" );
   }

   static void requireCard( CardOptions const & options ) {
      if ( options.card.empty() && options.after.empty() ) throw CLI::RequiredError( "CARD" );
   }

   static void traceWords( CLI::App & command, std::optional<U32> & level ) {
      command.add_option( "--trace", level, "Show the library's traces up to level N" )
         ->type_name( "N" )
         ->check( CLI::Range( 0U, Vor::traceLevels - 1 ) );
   }

   CLI::App app_{ "Brings up the PTP clocking path of a card.", "clockpath" };
   SimulateOptions simulate_;
   std::string agentCard_;
   AgentOptions agent_;
   RegisterOptions registers_;
   AuditOptions audit_;
   CheckOptions check_;
   ExplainOptions explain_;
   SequenceOptions sequence_;
   ReplayOptions replay_;
   RecordingOptions made_;
   JournalOptions journal_;
   int result_ = exitWrongUse;   // of the command that the words chose
};

}   // namespace

}   // namespace Host

int main( int argc, char ** argv ) {
   try {
      return Host::Words().run( argc, argv );
   } catch ( Input::InputError const & error ) {
      std::cout.flush();
      std::cerr << "clockpath: " << error.what() << '\n';
      return Host::exitWrongUse;
   } catch ( Host::CardUnavailable const & error ) {
      std::cout.flush();
      std::cerr << "clockpath: " << error.what() << '\n';
      return Host::exitNotReady;
   } catch ( std::exception const & error ) {
      std::cout.flush();
      std::cerr << "clockpath: unexpected: " << error.what() << '\n';
      return Host::exitNotReady;
   }
}
