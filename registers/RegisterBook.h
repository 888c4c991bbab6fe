// The registers of a described card by name and by address, and what is in their values.
//
//    ptp0.spiCtrl         a register of the FPGA that belongs to a chip, by its type's name
//    0x120                a register of the FPGA by its byte address within the card's space
//    0x2000-0x200c        the words from one to the other
//    ptp0:7, ptp0:0x7     a register of a MAX24305, reached over SPI
//    ptp0:0x10-0x1f       those from one to the other
//    ptp0.apllStatus      the same by name, where it has one
//    ptp0Reset            an output, which is one bit of a register of the FPGA
//
// Names, fields and access come from the declarations of the register types.
#pragma once

#include "framework/Types.h"
#include "hal/Block.h"
#include "input/CardDescription.h"

#include <string>
#include <string_view>
#include <vector>

namespace Host {

struct RegisterPlace {
   std::string name;   ///< as a user writes it
   /// The register is this chip's, reached over SPI; else the FPGA's.
   Input::Max24305Description const * chip = nullptr;
   U32 address = 0;   ///< the chip's register number, or the byte address in the space
   Hal::RegisterDeclaration const * declaration = nullptr;   ///< null for a register that has no type
   Input::GpoDescription const * output = nullptr;           ///< the output that was named
   Hal::Access access = Hal::readWrite_;

   /// What the value says, for people: "writeFifoCount 0, readFifoCount 1"; empty where nothing is known about it.
   std::string fieldsText( U32 value ) const;
   /// The value with one field replaced. Throws Input::InputError for a field or text that the register does not take.
   U32 withField( U32 value, std::string const & field, std::string const & text ) const;
};

class RegisterBook {
 public:
   /// The description outlives the book.
   explicit RegisterBook( Input::CardDescription const & card );

   /// Every register that has a name, chip by chip, then the outputs.
   Input::NamedList<RegisterPlace> const & all() const { return all_; }

   /// How many registers a range may have.
   static constexpr U32 rangeMax = 0x10000;

   /// The registers of one word: those of range(), or all of a chip. Throws Input::InputError for a name or an address
   /// that the card has not.
   std::vector<RegisterPlace> named( std::string const & word ) const;

   /// One register, or those of a range.
   std::vector<RegisterPlace> range( std::string const & word ) const;

   /// One register; `field` is set where the word ends in the name of a field.
   RegisterPlace one( std::string const & word, std::string * field = nullptr ) const;

   /// Throw Input::InputError, with what can be used in its place.
   void requireReadable( RegisterPlace const & place ) const;
   void requireWritable( RegisterPlace const & place ) const;

 private:
   void add( std::string const & owner, U32 base, Hal::Registers block, Input::Max24305Description const * chip );
   RegisterPlace ofNumber( std::string const & word, U32 address ) const;
   RegisterPlace ofChip( std::string const & word, std::string const & chip, std::string const & number ) const;
   RegisterPlace at( std::string const & word, Input::Max24305Description const * chip, U32 address ) const;
   void
   require( RegisterPlace const & place, bool ( *fits )( Hal::Access ), char const * trouble, char const * use ) const;
   [[noreturn]] void fail( std::string const & word, std::string const & why ) const;

   Input::CardDescription const & card_;
   Input::NamedList<RegisterPlace> all_;
};

}   // namespace Host
