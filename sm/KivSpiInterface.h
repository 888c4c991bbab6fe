// The byte-level access path to the registers of a MAX24305: the SPI master of the card's FPGA, driven through four
// 32-bit registers.
//
// Every operation runs on the caller's thread and blocks it while it waits: a read or a write for at most ten polls of
// 1 us, doReset for 10 ms, doResetHwSm for 500 ms. One owner uses one interface; nothing else may talk to the master
// meanwhile. Nothing throws: what the chip or the master refuses shows in the result, and recovery is the caller's.
//
// While "SIMULATION_VMID" is present, written bytes are kept in `simulatedData` and reads are answered from it.
#pragma once

#include "framework/HashMap.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "platform/Ham.h"

namespace Hardware {

class KivSpiInterface final : public Vor::PtrInterface {
 public:
   using SimulatedData = Vor::HashMap2018<U32>;

   /// The SPI instructions.
   static constexpr U64 readCmd = spiRead_;
   static constexpr U64 writeCmd = spiWrite_;

   /// `base`: byte address of the SPI master's registers within the handle's space. `resetSupported`: whether the FPGA
   /// implements the master's reset register.
   KivSpiInterface( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported );

   U32 base() const { return base_; }
   Vor::Ptr<Fru::HamImpl> hamImpl() const { return hamImpl_; }
   bool resetSupported() const { return resetSupported_; }

   /// The byte in chip register `address`; 0xFF when the master does not answer, which a register may hold as well.
   U8 doRead( U16 address );
   /// Whether the master has sent the write.
   bool doWrite( U16 address, U8 value );
   /// Drains the master's FIFOs and ends a transfer that was left open.
   void doResetHwSm();
   /// Pulses the master's reset; does nothing where there is none.
   void doReset();

   /// The simulated chip's registers. They outlive every reset and every attempt.
   SimulatedData const & simulatedData() const { return simulatedData_; }
   /// The value of a register, 0 for one never written.
   U32 simulatedData( U32 address ) const { return simulatedData_.value( address ); }
   void simulatedDataIs( U32 address, U32 value ) { simulatedData_.valueIs( address, value ); }
   /// Forgets one register and gives the value it had, or 0.
   U32 simulatedDataDel( U32 address ) { return simulatedData_.valueDel( address ); }
   void simulatedDataDelAll();
   bool simulatedDataHas( U32 address ) const { return simulatedData_.has( address ); }

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"base", &KivSpiInterface::base>, Vor::Fixed<"hamImpl", &KivSpiInterface::hamImpl>,
      Vor::Fixed<"resetSupported", &KivSpiInterface::resetSupported>, Vor::Plain<"readCmd", &KivSpiInterface::readCmd>,
      Vor::Plain<"writeCmd", &KivSpiInterface::writeCmd>,
      Vor::Keyed<
         "simulatedData",
         static_cast<SimulatedData const & (KivSpiInterface::*)() const>( &KivSpiInterface::simulatedData ),
         &KivSpiInterface::simulatedDataIs, &KivSpiInterface::simulatedDataDel>,
      Vor::Operation<"doRead", &KivSpiInterface::doRead, "address">,
      Vor::Operation<"doWrite", &KivSpiInterface::doWrite, "address", "value">,
      Vor::Operation<"doResetHwSm", &KivSpiInterface::doResetHwSm>,
      Vor::Operation<"doReset", &KivSpiInterface::doReset>>;

 private:
   void sendRegisterAddress( SpiCommandFifo & command, U64 instruction, U16 address );
   template<class Register> Register read();
   template<class Register> void write( Register const & value );

   U32 const base_;
   Vor::Ptr<Fru::HamImpl> const hamImpl_;
   bool const resetSupported_;
   SimulatedData simulatedData_;
};

inline constexpr auto & kivSpiInterfaceFactory = Vor::factoryOf<KivSpiInterface>;

}   // namespace Hardware
