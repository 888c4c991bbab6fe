// Who uses a real card: one at a time, since two that talk to one SPI master take each other's answers.
//
// The lock is a file beside the card's, PATH.lock, that names its holder. Under /dev and /sys, and where no file can be
// made beside, it stands in /run/lock or /tmp and is called after the card's real path. The kernel lets go of it when
// its holder ends, in whatever way; one that ends in order also removes the file.
//
//    Host::CardLock const lock( access.path, "agent" );
#pragma once

#include "card/Descriptor.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace Host {

/// The card cannot be used now; what() says why.
struct CardUnavailable : std::runtime_error {
   using std::runtime_error::runtime_error;
};

class CardLock {
 public:
   /// `card`: path of the mapped file, which need not exist yet. `user`: what the holder is. Throws CardUnavailable,
   /// which names the holder, where there is one.
   CardLock( std::string const & card, std::string const & user );
   ~CardLock();
   CardLock( CardLock const & ) = delete;
   CardLock & operator=( CardLock const & ) = delete;

   /// Where the lock stands.
   std::string const & path() const { return path_; }

 private:
   bool take( std::string const & path );

   std::string path_;
   std::optional<Descriptor> file_;
};

}   // namespace Host
