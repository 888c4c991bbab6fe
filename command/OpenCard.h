// The card that a command looks at: a real one as it is, whose lock it holds meanwhile; a simulated one brought up
// first, in virtual time, with the services around it in the starting state of an empty scenario; or with `--after` the
// card of a scenario as it stands at the end of that.
#pragma once

#include "card/CardLock.h"
#include "card/SimulatedWorld.h"
#include "input/Json.h"
#include "registers/RegisterAccess.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Host {

struct CardOptions {
   std::string card;    ///< path; empty with `after`
   std::string after;   ///< path of a scenario, or empty
   bool yes = false;    ///< do not ask
   bool json = false;   ///< for programs
};

/// What the files say. Throws Input::InputError.
struct CardFiles {
   explicit CardFiles( CardOptions const & options );
   Input::CardDescription card;
   Sim::Scenario scenario{};
};

class OpenCard : private Sim::CardListener {
 public:
   /// `user`: the command. The files outlive it. Throws CardUnavailable.
   OpenCard( CardFiles const & files, std::string const & user );

   RegisterAccess & registers() { return *registers_; }

 private:
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;

   std::optional<CardLock> lock_;            // of a real card
   std::unique_ptr<SimulatedWorld> world_;   // of a simulated one
   std::set<U32> unclaimed_;
   std::optional<RegisterAccess> registers_;
};

/// Asks on the terminal whether `command` may do `what`. Throws Input::InputError where nobody can be asked.
bool confirmed( CardOptions const & options, std::string const & command, std::string const & what );

/// The object on standard output.
void jsonTell( Input::Json const & json );

}   // namespace Host
