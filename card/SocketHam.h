// Register access to simulated hardware that runs in a process of its own (card/HardwareServer.h), over a Unix socket.
// The hardware outlives its agents, as a real card does.
//
// Each access is a message and its answer. Where the process is gone, reads give 0xFFFFFFFF and writes are lost;
// poll() looks for it again, and `hardwarePresent` follows.
#pragma once

#include "card/Descriptor.h"
#include "platform/Ham.h"

#include <optional>
#include <string>

namespace Host {

class SocketHam final : public Fru::HamImpl {
 public:
   SocketHam( Vor::Name name, std::string path );

   void poll();
   /// Why there is none; empty while the card is present.
   std::string const & trouble() const { return trouble_; }

   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   std::string const path_;
   std::string trouble_;
   std::optional<Descriptor> socket_;
};

}   // namespace Host
