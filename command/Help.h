// What is told of the command's words beside --help, all of it out of their one description: man pages, and what shells
// take to complete them.
//
//    std::cout << Host::completion( words, "bash" );
//    Host::helpWrite( words, "build/share" );   // all of it, as it stands below the share/ of a prefix
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace Host {

inline constexpr std::array<std::string_view, 3> shells{ "bash", "zsh", "fish" };

/// The source of the man page of a command, or of all of it. Choices that an option takes are its type, with | between.
std::string manPage( CLI::App const & all, CLI::App const & command );
/// The script for one of the shells.
std::string completion( CLI::App const & all, std::string_view shell );

/// Writes them: man/man1/clockpath-NAME.1, bash-completion/completions/clockpath, and so on. Throws Input::InputError
/// for one that cannot be written.
void helpWrite( CLI::App const & all, std::string const & folder );

}   // namespace Host
