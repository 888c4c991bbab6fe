// Reads and writes registers of a described card through its access handle, and tells "no answer" from ones that a
// register holds.
//
// A register of a MAX24305 is reached with the driver's SPI interface, which gives 0xFF for want of an answer: an
// answer is a valid entry taken from the response FIFO, whatever byte is in it. A card that is gone reads as ones, also
// where a register has bits that are never set. Nobody else may use the SPI masters meanwhile.
//
//    RegisterAccess access( card, hamImpl );
//    std::optional<U32> const value = access.read( book.one( "ptp0:7" ) );
#pragma once

#include "platform/Ham.h"
#include "registers/RegisterBook.h"
#include "sm/KivSpiInterface.h"

#include <map>
#include <optional>
#include <string>

namespace Host {

class RegisterAccess {
 public:
   /// The description outlives it.
   RegisterAccess( Input::CardDescription const & card, Vor::Ptr<Fru::HamImpl> const & hamImpl );

   /// Nothing where there is no answer.
   std::optional<U32> read( RegisterPlace const & place );
   std::optional<U32> readWord( U32 address );
   std::optional<U8> readByte( Input::Max24305Description const & chip, U16 address );

   /// Whether the write was sent.
   bool write( RegisterPlace const & place, U32 value );
   void writeWord( U32 address, U32 value ) { ham_->write32( address, value ); }
   bool writeByte( Input::Max24305Description const & chip, U16 address, U8 value );

   /// Takes what stands in the response FIFO of the chip's SPI master: an answer that came too late spoils the next
   /// ones. Nothing else is touched.
   void drain( Input::Max24305Description const & chip );
   /// Drains the FIFOs of the chip's SPI master and resets it, as each attempt of a bring-up does.
   void cleanUp( Input::Max24305Description const & chip );

 private:
   // Goes to the card's handle, and keeps what was read last.
   class NotingHam final : public Fru::HamImpl {
    public:
      explicit NotingHam( Vor::Ptr<Fru::HamImpl> const & real ) : HamImpl( real->name() ), real_( real ) {}
      void read32( U32 address, U32 & value ) override;
      void write32( U32 address, U32 value ) override { real_->write32( address, value ); }

      U32 lastAddress = 0;
      U32 lastValue = 0;

    private:
      Vor::Ptr<Fru::HamImpl> const real_;
   };

   Hardware::KivSpiInterface & spi( Input::Max24305Description const & chip );

   U32 const witness_;   // address of a register that has bits which are never set
   Vor::Ptr<NotingHam> const ham_;
   std::map<std::string, Vor::Ptr<Hardware::KivSpiInterface>> spis_;
};

}   // namespace Host
