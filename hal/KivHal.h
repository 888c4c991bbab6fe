// The registers of the card's system-control FPGA (Kiv) that the drivers interpret: its SPI master, the enable of the
// companion clock chip, and the frequency meter of the clock synthesiser. Addresses count from the start of each
// register's block, which its owner knows.
//
//    Hardware::SpiCommandFifo command;
//    command.dataToWriteIs( 0x5A );
//    command.csEndIs( 1 );
//    hamImpl->write32( base + command.address(), command.value() );
#pragma once

#include "hal/Block.h"

namespace Vor {
class Module;
}

namespace Hardware {

/// One byte to shift out.
class SpiCommandFifo : public Hal::Register<0x00, Hal::writeOnly_> {
   using CsEnd = Hal::Field<"csEnd", 31, 31, bool>;
   using RecordResponse = Hal::Field<"recordResponse", 12, 12, bool>;
   using DataToWrite = Hal::Field<"dataToWrite", 0, 7, U8>;

 public:
   using Register::Register;

   /// Releases chip select after this byte, which ends the transaction.
   bool csEnd() const { return field<CsEnd>(); }
   void csEndIs( U32 csEnd ) { fieldIs<CsEnd>( csEnd ); }
   /// Captures the byte shifted in meanwhile into the response FIFO.
   bool recordResponse() const { return field<RecordResponse>(); }
   void recordResponseIs( U32 record ) { fieldIs<RecordResponse>( record ); }
   U8 dataToWrite() const { return field<DataToWrite>(); }
   void dataToWriteIs( U32 data ) { fieldIs<DataToWrite>( data ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, CsEnd, RecordResponse, DataToWrite>;
};

/// One captured byte; reading takes it out of the FIFO.
class SpiResponseFifo : public Hal::Register<0x10, Hal::readTakes_> {
   using DataValid = Hal::Field<"dataValid", 31, 31, bool>;
   using Data = Hal::Field<"data", 0, 7, U8>;

 public:
   using Register::Register;

   /// Whether the entry holds a captured byte.
   bool dataValid() const { return field<DataValid>(); }
   void dataValidIs( U32 valid ) { fieldIs<DataValid>( valid ); }
   U8 data() const { return field<Data>(); }
   void dataIs( U32 data ) { fieldIs<Data>( data ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, DataValid, Data>;
};

/// The fill of both FIFOs.
class SpiCtrl : public Hal::Register<0x20, Hal::readOnly_> {
   using WriteFifoCount = Hal::Field<"writeFifoCount", 16, 21, U8>;
   using ReadFifoCount = Hal::Field<"readFifoCount", 0, 5, U8>;

 public:
   using Register::Register;

   /// Command words not sent yet.
   U8 writeFifoCount() const { return field<WriteFifoCount>(); }
   void writeFifoCountIs( U32 count ) { fieldIs<WriteFifoCount>( count ); }
   /// Entries waiting in the response FIFO.
   U8 readFifoCount() const { return field<ReadFifoCount>(); }
   void readFifoCountIs( U32 count ) { fieldIs<ReadFifoCount>( count ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, WriteFifoCount, ReadFifoCount>;
};

/// 1 holds the SPI master in reset, 0 releases it.
class SpiReset : public Hal::Register<0x30> {
   using Reset = Hal::Field<"reset", 0, 0, U8>;

 public:
   using Register::Register;

   U8 reset() const { return field<Reset>(); }
   void resetIs( U32 reset ) { fieldIs<Reset>( reset ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, Reset>;
};

/// The SPI master.
inline constexpr auto spiMasterBlock = Hal::block<SpiCommandFifo, SpiResponseFifo, SpiCtrl, SpiReset>();

/// The companion clock chip's enable, and its supply.
class TolvaneEnable : public Hal::Register<0x00> {
   using Enable = Hal::Field<"enable", 1, 1, bool>;
   using PowerGood = Hal::Field<"powerGood", 0, 0, bool, Hal::readOnly_>;

 public:
   using Register::Register;

   bool enable() const { return field<Enable>(); }
   void enableIs( U32 enable ) { fieldIs<Enable>( enable ); }
   bool powerGood() const { return field<PowerGood>(); }
   void powerGoodIs( U32 good ) { fieldIs<PowerGood>( good ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, Enable, PowerGood>;
};

inline constexpr auto tolvaneBlock = Hal::block<TolvaneEnable>();

/// The measured frequency of the clock synthesiser's output.
class Max24305Status : public Hal::Register<0x00, Hal::readOnly_> {
   using FrequencyInHz = Hal::Field<"frequencyInHz", 0, 31, U32>;

 public:
   using Register::Register;

   U32 frequencyInHz() const { return field<FrequencyInHz>(); }
   void frequencyInHzIs( U32 frequency ) { fieldIs<FrequencyInHz>( frequency ); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, FrequencyInHz>;
};

inline constexpr auto frequencyBlock = Hal::block<Max24305Status>();

/// Registers this module's types.
void registerKivHal( Vor::Module & module );

}   // namespace Hardware
