#include "command/Help.h"

#include "input/InputError.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

namespace Host {

namespace {

using CLI::App;
using CLI::Option;

std::vector<App const *> commandsOf( App const & all ) { return all.get_subcommands( {} ); }

bool takesValue( Option const & option ) { return option.get_items_expected_max() > 0; }

// What it takes, without what is checked of that: "N" of "N:UINT in [0 - 31]".
std::string typeOf( Option const & option ) {
   std::string const type = option.get_type_name();
   return type.substr( 0, type.find( ':' ) );
}

// The words that an option takes where it takes no others, and the commands where it takes one of those; else empty.
std::string choicesOf( App const & all, Option const & option ) {
   std::string choices = typeOf( option );
   if ( option.get_positional() && option.get_name() == "COMMAND" ) {
      choices.clear();
      for ( App const * command : commandsOf( all ) ) choices += ( choices.empty() ? "" : "|" ) + command->get_name();
   }
   if ( choices.find( '|' ) == std::string::npos ) return "";
   std::replace( choices.begin(), choices.end(), '|', ' ' );
   return choices;
}

std::vector<Option const *> optionsOf( App const & command, bool positional ) {
   return command.get_options( [=]( Option const * option ) { return option->get_positional() == positional; } );
}

// "--help -h"
std::string namesOf( Option const & option ) {
   std::string names;
   for ( std::string const & name : option.get_lnames() ) names += ( names.empty() ? "--" : " --" ) + name;
   for ( std::string const & name : option.get_snames() ) names += ( names.empty() ? "-" : " -" ) + name;
   return names;
}

std::string replaced( std::string_view text, char what, std::string_view with ) {
   std::string result;
   for ( char const character : text )
      if ( character == what )
         result += with;
      else
         result += character;
   return result;
}

std::string roff( std::string_view text ) { return replaced( replaced( text, '\\', "\\e" ), '-', "\\-" ); }

// "Does it." as the title of a page: "does it".
std::string titleOf( std::string text ) {
   if ( text.ends_with( '.' ) ) text.pop_back();
   text.front() = static_cast<char>( std::tolower( static_cast<unsigned char>( text.front() ) ) );
   return text;
}

std::string entryOf( Option const & option ) {
   std::string text = ".TP\n";
   if ( option.get_positional() ) {
      text += fmt::format( "\\fI{}\\fR", roff( option.get_name() ) );
   } else {
      text += fmt::format( "\\fB{}\\fR", replaced( roff( namesOf( option ) ), ' ', "\\fR, \\fB" ) );
      if ( takesValue( option ) ) text += fmt::format( " \\fI{}\\fR", roff( typeOf( option ) ) );
   }
   text += "\n" + roff( option.get_description() );
   if ( !option.get_default_str().empty() ) text += fmt::format( " [{}]", roff( option.get_default_str() ) );
   return text + "\n";
}

std::string synopsisOf( App const & command ) {
   std::string text = "[\\fIOPTIONS\\fR]";
   for ( Option const * option : optionsOf( command, true ) )
      text += fmt::format(
         " {}\\fI{}\\fR{}{}", option->get_required() ? "" : "[", roff( option->get_name() ),
         option->get_expected_max() > 1 ? "..." : "", option->get_required() ? "" : "]" );
   return text;
}

// A text within single quotes of a shell.
std::string shellText( std::string_view text ) { return "'" + replaced( text, '\'', "'\\''" ) + "'"; }

std::string bashCompletion( App const & all ) {
   std::string commands;
   std::string options;
   std::string values;
   for ( App const * command : commandsOf( all ) ) {
      std::string const & name = command->get_name();
      commands += name + " ";
      std::string words;
      std::string positional;
      for ( Option const * option : command->get_options( {} ) ) {
         std::string const choices = choicesOf( all, *option );
         if ( option->get_positional() ) {
            positional += choices.empty() ? "" : choices + " ";
            continue;
         }
         words += namesOf( *option ) + " ";
         if ( takesValue( *option ) )
            values += fmt::format(
               "      {}:{}) words={} ;;\n", name, replaced( namesOf( *option ), ' ', " | " + name + ":" ),
               shellText( choices ) );
      }
      options += fmt::format( "      {}) options={} words={} ;;\n", name, shellText( words ), shellText( positional ) );
   }
   return fmt::format(
      R"(# bash completion of clockpath, written by "clockpath completion bash"
_clockpath() {{
   local word=${{COMP_WORDS[COMP_CWORD]}} command=${{COMP_WORDS[1]}} options words
   case $command in
{1}   esac
   if (( COMP_CWORD == 1 )); then
      words={0}
   elif [[ $word == -* ]]; then
      words=$options
   fi
   # What an option takes; where there are no words for it, it is a file.
   case $command:${{COMP_WORDS[COMP_CWORD - 1]}} in
{2}   esac
   COMPREPLY=( $( compgen -W "$words" -- "$word" ) )
}}
complete -o bashdefault -o default -F _clockpath clockpath
)",
      shellText( commands + "--help --version" ), options, values );
}

std::string zshCompletion( App const & all ) {
   auto const plain = []( std::string_view text ) { return replaced( replaced( text, '[', "(" ), ']', ")" ); };
   auto const titled = []( std::string_view text ) { return replaced( text, ':', "\\:" ); };
   std::string commands;
   std::string options;
   for ( App const * command : commandsOf( all ) ) {
      commands +=
         fmt::format( "   {}\n", shellText( command->get_name() + ":" + titled( command->get_description() ) ) );
      options += fmt::format( "   {}) _arguments", command->get_name() );
      for ( Option const * option : command->get_options( {} ) ) {
         std::string const choices = choicesOf( all, *option );
         std::string const action = choices.empty() ? "_files" : "(" + choices + ")";
         if ( option->get_positional() )
            options +=
               " " + shellText( fmt::format(
                        "{}:{}:{}", option->get_expected_max() > 1 ? "*" : "", titled( option->get_name() ), action ) );
         else
            for ( std::string const & name : CLI::detail::split( namesOf( *option ), ' ' ) )
               options += " " + shellText(
                                   name + "[" + titled( plain( option->get_description() ) ) + "]" +
                                   ( takesValue( *option ) ? ":" + titled( typeOf( *option ) ) + ":" + action : "" ) );
      }
      options += " ;;\n";
   }
   return fmt::format(
      R"(#compdef clockpath
# zsh completion of clockpath, written by "clockpath completion zsh"
local -a commands=(
{0})
if (( CURRENT == 2 )); then
   _describe command commands
   return
fi
shift words
(( CURRENT -= 1 ))
case $words[1] in
{1}esac
)",
      commands, options );
}

std::string fishCompletion( App const & all ) {
   std::string text = "# fish completion of clockpath, written by \"clockpath completion fish\"\n";
   for ( App const * command : commandsOf( all ) ) {
      text += fmt::format(
         "complete -c clockpath -n __fish_use_subcommand -f -a {} -d {}\n", command->get_name(),
         shellText( command->get_description() ) );
      for ( Option const * option : command->get_options( {} ) ) {
         std::string const choices = choicesOf( all, *option );
         if ( option->get_positional() && choices.empty() ) continue;   // a file, which is what fish completes anyway
         text += fmt::format( "complete -c clockpath -n '__fish_seen_subcommand_from {}'", command->get_name() );
         for ( std::string const & name : option->get_lnames() ) text += " -l " + name;
         for ( std::string const & name : option->get_snames() ) text += " -s " + name;
         if ( !choices.empty() )
            text += fmt::format( " {} -a {}", option->get_positional() ? "-f" : "-x", shellText( choices ) );
         else if ( takesValue( *option ) )
            text += " -r";
         text += fmt::format( " -d {}\n", shellText( option->get_description() ) );
      }
   }
   return text;
}

void written( std::filesystem::path const & path, std::string const & text ) {
   std::error_code error;
   std::filesystem::create_directories( path.parent_path(), error );
   if ( !( std::ofstream( path ) << text << std::flush ) )
      throw Input::InputError( path.string() + ": cannot be written; expected a folder that can be" );
}

}   // namespace

std::string manPage( App const & all, App const & command ) {
   bool const whole = &all == &command;
   std::string const name = all.get_name() + ( whole ? "" : "-" + command.get_name() );
   std::string heading = name;
   std::ranges::transform( heading, heading.begin(), []( unsigned char letter ) { return std::toupper( letter ); } );
   std::string text = fmt::format(
      ".TH {} 1 \"\" \"{}\" \"Clockpath\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n.B {}{}\n{}\n.SH DESCRIPTION\n{}{}\n",
      heading, all.version(), roff( name ), roff( titleOf( command.get_description() ) ), all.get_name(),
      whole ? "" : " " + roff( command.get_name() ), whole ? "\\fICOMMAND\\fR [\\fIWORDS\\fR]" : synopsisOf( command ),
      roff( command.get_description() ), command.get_description().ends_with( '.' ) ? "" : "." );
   text += ".SH OPTIONS\n";
   for ( bool const positional : { true, false } )
      for ( Option const * option : optionsOf( command, positional ) ) text += entryOf( *option );
   if ( whole ) {
      text += ".SH COMMANDS\n";
      for ( App const * one : commandsOf( all ) )
         text += fmt::format(
            ".TP\n\\fB{}\\fR\n{}; see \\fB{}\\-{}\\fR(1)\n", roff( one->get_name() ), roff( one->get_description() ),
            all.get_name(), roff( one->get_name() ) );
   }
   std::string const footer = all.get_footer();
   text += ".SH EXIT STATUS\n" + roff( footer.substr( footer.find( ' ', footer.find( ':' ) ) + 1 ) ) + "\n";
   return text + ".SH SEE ALSO\n" + ( whole ? "The documents in /usr/share/doc/clockpath\n" : ".BR clockpath (1)\n" );
}

std::string completion( App const & all, std::string_view shell ) {
   if ( shell == "bash" ) return bashCompletion( all );
   return shell == "zsh" ? zshCompletion( all ) : fishCompletion( all );
}

void helpWrite( App const & all, std::string const & folder ) {
   std::filesystem::path const share( folder );
   written( share / "man/man1" / ( all.get_name() + ".1" ), manPage( all, all ) );
   for ( App const * command : commandsOf( all ) )
      written( share / "man/man1" / ( all.get_name() + "-" + command->get_name() + ".1" ), manPage( all, *command ) );
   written( share / "bash-completion/completions" / all.get_name(), completion( all, "bash" ) );
   written( share / "zsh/vendor-completions" / ( "_" + all.get_name() ), completion( all, "zsh" ) );
   written( share / "fish/vendor_completions.d" / ( all.get_name() + ".fish" ), completion( all, "fish" ) );
}

}   // namespace Host
