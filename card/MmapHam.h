// Register access to a card in the machine: a file mapped into memory, such as a PCI resource file or a UIO device.
//
// Each access is one 32-bit load or store of the processor, complete before the next begins: neither torn, merged,
// repeated nor reordered. The file comes and goes with the card: poll() looks for it, maps or unmaps it, and
// `hardwarePresent` follows. While nothing is mapped, reads give 0xFFFFFFFF, as those of a card that is gone do, and
// writes are lost; so they do once an access has found nothing behind a mapping, since the file has shrunk or the
// device is gone, until poll() finds it again. For that the process has a handler of SIGBUS from the first mapping on,
// which hands on what is none of its own to the handler before it; a handler that the host sets later does the same.
//
//    std::string const path = "/sys/bus/pci/devices/0000:03:00.0/resource0";
//    Vor::Ptr<Host::MmapHam> ham = new Host::MmapHam( "ham", path, 0, 0x10000 );
//    ham->poll();                                   // now, and from the agent's loop
//    if ( !ham->hardwarePresent() ) std::cerr << ham->trouble() << '\n';
#pragma once

#include "card/PolledHam.h"

#include <sys/types.h>

#include <atomic>
#include <string>

namespace Host {

class MmapHam final : public PolledHam {
 public:
   /// The card's space is `size` bytes that start at byte `offset` of the file; both are multiples of 4.
   MmapHam( Vor::Name name, std::string path, U64 offset, U32 size );
   ~MmapHam() override;

   /// Looks whether the file is there, still the same and long enough.
   void poll() override;

   /// `address` is a multiple of 4 within the space: descriptions are checked when they are read. Any other stops the
   /// process.
   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

   /// Start of the mapped space, null while there is none; also for signal handlers.
   U32 volatile * space() const { return space_.load( std::memory_order_relaxed ); }

   /// One access to a register of mapped space, for signal handlers that end the process: of one that is gone it is
   /// lost, and the handle does not know.
   static U32 load( U32 const volatile * place );
   static void store( U32 volatile * place, U32 value );

 private:
   static constexpr char vorSource[] = "MmapHam";

   struct Identity {
      dev_t device = 0;
      ino_t inode = 0;
      friend bool operator==( Identity const &, Identity const & ) = default;
   };

   bool map();
   void unmap();

   std::string const path_;
   Identity identity_;
   void * mapping_ = nullptr;
   std::size_t mappingSize_ = 0;
   std::atomic<U32 volatile *> space_{ nullptr };
};

}   // namespace Host
