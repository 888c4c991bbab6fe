// The 32-bit register value and the fields that register types declare on it.
//
// A register value is a snapshot: it knows its address within its block, and is read from and written to the hardware
// as a whole word. A register type declares its fields once, high bits first, as a data sheet lists them; the list is
// the order of reflection, and overlapping fields do not compile:
//
//    class SpiCtrl : public Hal::Register<0x20, Hal::readOnly_> {
//       using WriteFifoCount = Hal::Field<"writeFifoCount", 16, 21, U8>;
//       using ReadFifoCount = Hal::Field<"readFifoCount", 0, 5, U8>;
//
//     public:
//       using Register::Register;
//       U8 writeFifoCount() const { return field<WriteFifoCount>(); }
//       void writeFifoCountIs( U32 count ) { fieldIs<WriteFifoCount>( count ); }
//       ...
//       static Vor::Type const & staticType();
//       using Attributes = Hal::RegisterAttributes<Register, WriteFifoCount, ReadFifoCount>;
//    };
//
// What the hardware does with reads and writes is declared too, for models and tools (hal/Block.h, and `access` of the
// type's operations); a register value itself can be made and changed in any case.
//
// A field's setter keeps the field's bits of its argument and silently drops the others; `bitsIs` stops the process
// instead when the value does not fit. Bits that no field names are left as they are.
#pragma once

#include "framework/Assert.h"
#include "framework/Attributes.h"
#include "framework/Strep.h"

namespace Vor {
class EnumType;
}

namespace Hal {

/// How a register, or a field of one, may be used.
enum Access : U32 {
   readWrite_,
   readOnly_,    ///< writes are ignored
   writeOnly_,   ///< what a read gives says nothing
   readTakes_,   ///< writes are ignored, and each read takes an entry out
};
Vor::EnumType const & enumType( Access );
constexpr bool readable( Access access ) { return access != writeOnly_; }
constexpr bool writable( Access access ) { return access == readWrite_ || access == writeOnly_; }

// Both assertions below have the file, the lines and the signatures of the platform's register header, whose place this
// one takes: what watches the logs of cards for them must find them as they always were.
inline constexpr char platformHeader[] = "/usr/include/Fru/Hal";

/// An inclusive range of bits, `from` the least significant.
struct BitRange {
   U16 from = 0;
   U16 to = 0;

   constexpr BitRange() = default;
   constexpr BitRange( U16 first, U16 last ) : from( first ), to( last ) {}
   /// Reads the text form BitRange(FROM, TO).
   BitRange( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end );
   friend bool operator==( BitRange const &, BitRange const & ) = default;
};
Vor::String valueToStrep( BitRange const & range );

/// Ones for a range as wide as `from` to `to`, at the bottom of the word. Stops the process unless from <= to.
constexpr U32 bitmask( U16 from, U16 to ) {
   if ( !( from <= to ) )
      Vor::assertionFailed(
         { "from <= to", platformHeader, "T Hal::bitmask(U16, U16) [with T = unsigned int; U16 = short unsigned int]",
           8 } );
   U32 const width = U32{ to } - from;
   // 2 << 31 comes round to 0, so that 31 gives all ones too; wider ranges leave the word.
   return width >= 32 ? ~U32{ 0 } : ( U32{ 2 } << width ) - 1;
}

/// Shifts that are defined for a distance that leaves the word: nothing stays.
constexpr U32 shiftedUp( U32 value, U32 distance ) { return distance < 32 ? value << distance : 0; }
constexpr U32 shiftedDown( U32 value, U32 distance ) { return distance < 32 ? value >> distance : 0; }

/// One 32-bit word with access by bit range.
class Reg32 {
 public:
   constexpr explicit Reg32( U32 value = 0 ) : value_( value ) {}
   /// Reads the word from the text form, an unsigned number.
   Reg32( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end )
      : value_( Vor::deserializeAttr( pos, end, "value" ) ) {}

   constexpr U32 value() const { return value_; }
   constexpr void valueIs( U32 value ) { value_ = value; }

   /// The bits of the range, shifted down. Stops the process unless from <= to.
   constexpr U32 bits( BitRange range ) const {
      return shiftedDown( value_, range.from ) & bitmask( range.from, range.to );
   }
   /// Replaces the bits of the range. Stops the process unless from <= to, and unless the value fits.
   constexpr void bitsIs( BitRange range, U32 newValue ) {
      U32 const mask = bitmask( range.from, range.to );
      if ( U32{ range.to } - range.from != 32 && ( newValue & ~mask ) != 0 )
         Vor::assertionFailed(
            { "(newValue & ~mask) == 0", platformHeader,
              "void Hal::bitsIs(T&, U16, U16, T) [with T = unsigned int; U16 = short unsigned int]", 20 } );
      value_ = shiftedUp( newValue & mask, range.from ) | ( value_ & ~shiftedUp( mask, range.from ) );
   }
   /// Always throws NoImplementationException: a register's bits cannot be removed.
   void bitsDel( BitRange );

   friend constexpr bool operator==( Reg32 const &, Reg32 const & ) = default;

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Plain<"value", &Reg32::value, &Reg32::valueIs>,
      Vor::Indexed<"bits", &Reg32::bits, &Reg32::bitsIs, &Reg32::bitsDel>>;

 private:
   U32 value_;
};

Vor::String valueToStrep( Reg32 const & reg );
std::ostream & operator<<( std::ostream & out, Reg32 const & reg );

/// One field: its name, bits, the type that its getter gives, and its access where it allows less than its register.
template<Vor::Tag fieldName, U16 from, U16 to, class T, Access mode = readWrite_> struct Field {
   static_assert( from <= to && to < 32, "a field lies within the word" );
   static constexpr auto name = fieldName;
   static constexpr BitRange range{ from, to };
   static constexpr Access access = mode;
   using Value = T;
};

/// Base of the register types at byte `offset` of their block.
template<U32 offset, Access mode = readWrite_> class Register : public Reg32 {
 public:
   using Reg32::Reg32;

   static constexpr U32 address() { return offset; }
   static constexpr Access access() { return mode; }

   template<class F> constexpr typename F::Value field() const {
      return static_cast<typename F::Value>( bits( F::range ) );
   }
   template<class F> constexpr void fieldIs( U32 value ) {
      bitsIs( F::range, value & bitmask( F::range.from, F::range.to ) );
   }
};

namespace Detail {

template<class F> inline constexpr U32 fieldMask = bitmask( F::range.from, F::range.to ) << F::range.from;

template<class Base, class F>
struct FieldAttribute : Vor::Plain<F::name, &Base::template field<F>, &Base::template fieldIs<F>> {
   using Field = F;
};

template<class Base, class... F> struct RegisterAttributes {
   // A bit of two fields counts twice in the sum.
   static_assert( ( 0U + ... + U64{ fieldMask<F> } ) == (0U | ... | fieldMask<F>), "two fields overlap" );
   using type =
      Vor::AttributesThen<Reg32::Attributes, Vor::Plain<"address", &Base::address>, FieldAttribute<Base, F>...>;
};

}   // namespace Detail

/// The attribute list of a register type: value, bits, address, then its fields.
template<class Base, class... F> using RegisterAttributes = typename Detail::RegisterAttributes<Base, F...>::type;

}   // namespace Hal
