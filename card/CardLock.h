// Who uses a real card: one at a time, since two that talk to one SPI master take each other's answers.
//
// The lock is a file beside the card's, PATH.lock, that names its holder. Under /dev and /sys, and where no file can be
// made beside, it stands in /run/lock or /tmp and is called after the card's real path. The kernel lets go of it when
// its holder ends, in whatever way.
//
// A supervisor that takes over has a generation, which whoever decides who is active has given it. It takes the card
// from every holder of a lower one, also from a process that was stopped, for which the kernel keeps locks for ever:
// the file begins with the generation that has the card, in 8 hexadecimal digits, and holders look at them before every
// access (card/FencedHam.h). A holder without a generation takes part with the one that it finds.
//
//    Host::CardLock const lock( access.path, "agent", 5 );      // PATH.lock: "00000005 agent, process 117"
//    if ( !lock.held() ) std::cerr << "generation " << lock.generationNow() << " has the card\n";
//
// The generation outlives its holder, so that a supervisor that was active before cannot come back with its old one; a
// file without one is removed by its last holder. Where the file is gone - /run/lock is empty after a boot, as are the
// processes - every generation begins anew.
#pragma once

#include "card/Descriptor.h"
#include "framework/Types.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Host {

/// The card cannot be used now; what() says why.
struct CardUnavailable : std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// Where something that belongs to a card may stand that is reached by `path`, the best place first: beside it, or,
/// under /dev and /sys and where nothing can be made beside, in /run/lock or /tmp, called after its real path.
std::vector<std::string> placesBeside( std::string const & path, std::string const & ending );

class CardLock {
 public:
   /// `card`: path of the mapped file or of the hardware's socket, which need not exist yet. `user`: what the holder
   /// is. `generation`: 0 takes the card only when nobody holds it. Throws CardUnavailable, which names the holder,
   /// where there is one of this generation or a higher one; and where the card has had a higher generation.
   CardLock( std::string const & card, std::string const & user, U32 generation = 0 );
   ~CardLock();
   CardLock( CardLock const & ) = delete;
   CardLock & operator=( CardLock const & ) = delete;

   /// Where the lock stands.
   std::string const & path() const { return path_; }

   /// Whether the card is still this holder's: one load from memory.
   bool held() const;
   /// The generation that has the card, or had it last; 0 for none.
   U32 generationNow() const;

 private:
   class File;

   bool take( std::string const & path, U32 generation );

   std::string path_;
   std::unique_ptr<File> file_;
   U64 mine_ = 0;   // how the file begins while this one holds the card
};

}   // namespace Host
