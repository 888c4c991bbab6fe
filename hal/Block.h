// What register types declare, for those who do not know the types: claims of a space, models, tools.
//
// A block is the list of the registers that stand together, declared once beside their types; each place of the block
// on a card is the byte offset from which the addresses count:
//
//    inline constexpr auto spiMasterBlock = Hal::block<SpiCommandFifo, SpiResponseFifo, SpiCtrl, SpiReset>();
//    for ( Hal::RegisterDeclaration const & reg : spiMasterBlock ) claim( offset + reg.address );
#pragma once

#include "hal/Reg32.h"

#include <array>
#include <span>
#include <string_view>

namespace Hal {

struct FieldDeclaration {
   std::string_view name;
   BitRange range;
   bool isFlag = false;   ///< reads as true or false
   Access access = readWrite_;

   U32 value( U32 word ) const { return Reg32( word ).bits( range ); }
   U32 maximum() const { return bitmask( range.from, range.to ); }
};

struct RegisterDeclaration {
   Vor::Type const & ( *type )() = nullptr;
   U32 address = 0;   ///< within the block
   Access access = readWrite_;
   std::span<FieldDeclaration const> fields{};   ///< as the type lists them
};

using Registers = std::span<RegisterDeclaration const>;

namespace Detail {

// In a register's list its fields stand behind those three.
template<class Value, class Bits, class Address, class... A>
consteval std::array<FieldDeclaration, sizeof...( A )> fieldsOf( Vor::Attributes<Value, Bits, Address, A...> ) {
   return { FieldDeclaration{
      A::Field::name, A::Field::range, std::is_same_v<typename A::Field::Value, bool>, A::Field::access }... };
}
template<class R> inline constexpr auto fields = fieldsOf( typename R::Attributes{} );

}   // namespace Detail

/// Two registers of one address do not compile.
template<class... R> consteval std::array<RegisterDeclaration, sizeof...( R )> block() {
   std::array<RegisterDeclaration, sizeof...( R )> const registers{
      RegisterDeclaration{ &R::staticType, R::address(), R::access(), Detail::fields<R> }... };
   for ( std::size_t i = 0; i < registers.size(); ++i )
      for ( std::size_t j = 0; j < i; ++j )
         if ( registers[i].address == registers[j].address ) throw "two registers of the block have one address";
   return registers;
}

}   // namespace Hal
