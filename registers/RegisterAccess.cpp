#include "registers/RegisterAccess.h"

#include "hal/KivHal.h"

namespace Host {

namespace {

constexpr U32 goneWord = 0xFFFFFFFF;

U32 witnessOf( Input::CardDescription const & card ) {
   return card.max24305s.size() > 0 ? card.max24305s.front().configOffset + Hardware::SpiCtrl::address()
                                    : card.tolvanes.front().offset + Hardware::TolvaneEnable::address();
}

}   // namespace

void RegisterAccess::NotingHam::read32( U32 address, U32 & value ) {
   real_->read32( address, value );
   lastAddress = address;
   lastValue = value;
}

RegisterAccess::RegisterAccess( Input::CardDescription const & card, Vor::Ptr<Fru::HamImpl> const & hamImpl )
   : witness_( witnessOf( card ) ), ham_( new NotingHam( hamImpl ) ) {}

std::optional<U32> RegisterAccess::read( RegisterPlace const & place ) {
   if ( place.chip ) return readByte( *place.chip, static_cast<U16>( place.address ) );
   return readWord( place.address );
}

std::optional<U32> RegisterAccess::readWord( U32 address ) {
   U32 value = 0;
   ham_->read32( address, value );
   if ( value != goneWord ) return value;
   U32 witness = 0;
   ham_->read32( witness_, witness );
   return witness == goneWord ? std::nullopt : std::optional( value );
}

std::optional<U8> RegisterAccess::readByte( Input::Max24305Description const & chip, U16 address ) {
   U8 const byte = spi( chip ).doRead( address );
   // It ends with the read that brings a valid entry, or without one.
   bool const taken = ham_->lastAddress == chip.configOffset + Hardware::SpiResponseFifo::address();
   return taken && Hardware::SpiResponseFifo( ham_->lastValue ).dataValid() ? std::optional( byte ) : std::nullopt;
}

bool RegisterAccess::write( RegisterPlace const & place, U32 value ) {
   if ( place.chip ) return writeByte( *place.chip, static_cast<U16>( place.address ), static_cast<U8>( value ) );
   writeWord( place.address, value );
   return true;
}

bool RegisterAccess::writeByte( Input::Max24305Description const & chip, U16 address, U8 value ) {
   return spi( chip ).doWrite( address, value );
}

void RegisterAccess::drain( Input::Max24305Description const & chip ) {
   constexpr U32 most = 255;   // that the count can say
   for ( U32 taken = 0; taken < most; ++taken ) {
      std::optional<U32> const ctrl = readWord( chip.configOffset + Hardware::SpiCtrl::address() );
      if ( !ctrl || Hardware::SpiCtrl( *ctrl ).readFifoCount() == 0 ) return;
      readWord( chip.configOffset + Hardware::SpiResponseFifo::address() );
   }
}

void RegisterAccess::cleanUp( Input::Max24305Description const & chip ) {
   spi( chip ).doResetHwSm();
   spi( chip ).doReset();
}

Hardware::KivSpiInterface & RegisterAccess::spi( Input::Max24305Description const & chip ) {
   auto & spi = spis_[chip.name];
   if ( !spi ) spi = Hardware::kivSpiInterfaceFactory( chip.configOffset, ham_, chip.spiResetSupported );
   return *spi;
}

}   // namespace Host
