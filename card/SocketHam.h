// Register access to simulated hardware that lives in a process of its own (card/HardwareServer.h), over a Unix socket.
// The hardware outlives its users, as a real card does.
//
// Each access is a message and its answer. A process that does not answer within seconds is gone; poll() looks for it
// again.
#pragma once

#include "card/Descriptor.h"
#include "card/HardwareMessage.h"
#include "card/PolledHam.h"

#include <optional>
#include <string>

namespace Host {

class SocketHam final : public PolledHam {
 public:
   SocketHam( Vor::Name name, std::string path );

   void poll() override;
   /// Readable when the process has gone.
   int wakeFd() const override { return lost_.fd(); }

   /// `address` is a multiple of 4, as card/MmapHam.h has it. Any other stops the process.
   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   static constexpr char vorSource[] = "SocketHam";

   bool connect();
   U32 answerTo( HardwareRequest const & request );

   std::string const path_;
   Descriptor const lost_;   // an epoll instance, which outlives the sockets that it watches
   std::optional<HardwareSocket> socket_;
};

}   // namespace Host
