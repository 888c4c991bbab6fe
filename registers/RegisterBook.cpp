#include "registers/RegisterBook.h"

#include "framework/Type.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "input/Json.h"
#include "input/Number.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace Host {

namespace {

// "spiCtrl" of the type Hardware::SpiCtrl.
std::string nameOf( Hal::RegisterDeclaration const & declaration ) {
   std::string name = declaration.type().name();
   name.erase( 0, name.rfind( ':' ) + 1 );
   name.front() = static_cast<char>( std::tolower( static_cast<unsigned char>( name.front() ) ) );
   return name;
}

// "a, b or c": the names of those in the list that fit.
template<class List, class Fits> std::string choices( List const & list, Fits const & fits ) {
   std::vector<std::string_view> names;
   for ( auto const & one : list )
      if ( fits( one ) ) names.push_back( one.name );
   return Input::choicesText( names );
}

}   // namespace

std::string RegisterPlace::fieldsText( U32 value ) const {
   if ( output )
      return fmt::format(
         "bit {} is {}, {}", output->bit, value >> output->bit & 1, output->active( value ) ? "active" : "inactive" );
   std::string text;
   if ( declaration )
      for ( Hal::FieldDeclaration const & field : declaration->fields ) {
         U32 const number = field.value( value );
         std::string const shown = field.isFlag ? ( number ? "true" : "false" ) : std::to_string( number );
         text += fmt::format( "{}{} {}", text.empty() ? "" : ", ", field.name, shown );
      }
   // A chip that does not answer reads as ones, and so may a register.
   if ( chip && value == 0xFF ) return text + ( text.empty() ? "" : "; " ) + "or no answer";
   return text;
}

U32 RegisterPlace::withField( U32 value, std::string const & field, std::string const & text ) const {
   auto const fields = declaration->fields;
   auto const found =
      std::find_if( fields.begin(), fields.end(), [&]( auto const & one ) { return one.name == field; } );
   if ( found == fields.end() )
      throw Input::InputError(
         "there is no field \"" + field + "\"; expected " + Input::choicesText( Input::namesOf( fields ) ) );
   // Setters drop what does not fit silently; a user is told.
   auto const wanted = Input::numberOf( text == "true" ? "1" : text == "false" ? "0" : text, found->maximum() );
   if ( !wanted )
      throw Input::InputError( fmt::format(
         "the field \"{}\": expected a number from 0 to {}, found \"{}\"", field, found->maximum(), text ) );
   auto const writable = []( auto const & one ) { return Hal::writable( one.access ); };
   if ( !writable( *found ) )
      throw Input::InputError(
         "the field \"" + field + "\" can only be read; expected " + choices( fields, writable ) );
   Hal::Reg32 reg( value );
   reg.bitsIs( found->range, *wanted );
   return reg.value();
}

RegisterBook::RegisterBook( Input::CardDescription const & card ) : card_( card ) {
   for ( Input::TolvaneDescription const & chip : card_.tolvanes )
      add( chip.name, chip.offset, Hardware::tolvaneBlock, nullptr );
   for ( Input::Max24305Description const & chip : card_.max24305s ) {
      add( chip.name, chip.configOffset, Hardware::spiMasterBlock, nullptr );
      if ( !chip.spiResetSupported ) all_[all_.size() - 1].access = Hal::readOnly_;   // the reset, which reads 0
      add( chip.name, chip.statusOffset, Hardware::frequencyBlock, nullptr );
      add( chip.name, 0, Hardware::max24305Block, &chip );
   }
   for ( Input::GpoDescription const & gpo : card_.gpos )
      all_.push_back( { .name = gpo.name, .address = gpo.offset, .output = &gpo } );
}

void RegisterBook::add(
   std::string const & owner, U32 base, Hal::Registers block, Input::Max24305Description const * chip ) {
   for ( Hal::RegisterDeclaration const & declaration : block )
      all_.push_back(
         { .name = owner + "." + nameOf( declaration ),
           .chip = chip,
           .address = base + declaration.address,
           .declaration = &declaration,
           .access = declaration.access } );
}

std::vector<RegisterPlace> RegisterBook::named( std::string const & word ) const {
   if ( !card_.tolvane( word ) && !card_.max24305( word ) ) return range( word );
   std::vector<RegisterPlace> places;
   for ( RegisterPlace const & place : all_ )
      if ( place.name.starts_with( word + "." ) ) places.push_back( place );
   return places;
}

std::vector<RegisterPlace> RegisterBook::range( std::string const & word ) const {
   std::size_t const dash = word.rfind( '-' );
   auto const last = dash == std::string::npos ? std::nullopt : Input::numberOf( word.substr( dash + 1 ) );
   if ( !last || all_.find( word ) ) return { one( word ) };
   std::string const from = word.substr( 0, dash );
   std::size_t const numberAt = from.find( ':' ) + 1;   // 0 where there is no colon
   if ( !Input::numberOf( from.substr( numberAt ) ) )
      fail( word, "expected a range of numbers, such as 0x2000-0x200c or CHIP:0x10-0x1f" );
   RegisterPlace const first = one( from );
   U32 const step = first.chip ? 1 : 4;
   if ( *last < first.address || ( *last - first.address ) / step >= rangeMax )
      fail( word, fmt::format( "expected a range from a lower to a higher register, of {} at most", rangeMax ) );
   std::vector<RegisterPlace> places;
   std::string const owner = from.substr( 0, numberAt );
   for ( U64 address = first.address; address <= *last; address += step )
      places.push_back( one( fmt::format( "{}0x{:x}", owner, address ) ) );
   return places;
}

RegisterPlace RegisterBook::one( std::string const & word, std::string * field ) const {
   if ( auto const address = Input::numberOf( word ) ) return ofNumber( word, *address );
   if ( auto const colon = word.find( ':' ); colon != std::string::npos )
      return ofChip( word, word.substr( 0, colon ), word.substr( colon + 1 ) );
   if ( RegisterPlace const * const place = all_.find( word ) ) return *place;
   if ( auto const dot = word.rfind( '.' ); field && dot != std::string::npos ) {
      RegisterPlace const * const place = all_.find( word.substr( 0, dot ) );
      if ( place && place->declaration ) {
         *field = word.substr( dot + 1 );
         return *place;
      }
   }
   std::vector<std::string_view> const names = Input::namesOf( all_ );
   std::string_view const near = Input::nearestChoice( word, names );
   fail(
      word, ( near.empty() ? "expected " : "did you mean \"" + std::string( near ) + "\"? Expected " ) +
               Input::choicesText( names ) + ", an address such as 0x2000, or a chip's register such as \"CHIP:7\"" );
}

RegisterPlace RegisterBook::ofNumber( std::string const & word, U32 address ) const {
   constexpr U32 wordSize = 4;
   if ( address % wordSize != 0 ) fail( word, "expected an address that is a multiple of 4" );
   auto const * mmap = std::get_if<Input::MmapAccess>( &card_.access );
   if ( mmap && address >= mmap->size ) fail( word, fmt::format( "expected an address below 0x{:x}", mmap->size ) );
   return at( word, nullptr, address );
}

RegisterPlace
RegisterBook::ofChip( std::string const & word, std::string const & chip, std::string const & number ) const {
   Input::Max24305Description const * const max24305 = card_.max24305( chip );
   if ( !max24305 )
      fail(
         word, "expected a MAX24305 of the card before the colon: " +
                  Input::choicesText( Input::namesOf( card_.max24305s ) ) );
   auto const address = Input::numberOf( number, 0xFFFF );
   if ( !address ) fail( word, "expected a register from 0 to 0xffff behind the colon" );
   return at( word, max24305, *address );
}

RegisterPlace RegisterBook::at( std::string const & word, Input::Max24305Description const * chip, U32 address ) const {
   RegisterPlace place{ .name = word, .chip = chip, .address = address };
   for ( RegisterPlace const & known : all_ )
      if ( known.declaration && known.chip == chip && known.address == address ) place = known;
   place.name = word;
   return place;
}

void RegisterBook::requireReadable( RegisterPlace const & place ) const {
   require( place, Hal::readable, "can only be written: a read of it says nothing", "read" );
}

void RegisterBook::requireWritable( RegisterPlace const & place ) const {
   require( place, Hal::writable, "can only be read: it ignores writes", "written" );
}

void RegisterBook::require(
   RegisterPlace const & place, bool ( *fits )( Hal::Access ), char const * trouble, char const * use ) const {
   if ( fits( place.access ) ) return;
   throw Input::InputError( fmt::format(
      "\"{}\" {}; expected a register that can be {}: {}", place.name, trouble, use,
      choices( all_, [&]( RegisterPlace const & one ) { return fits( one.access ); } ) ) );
}

void RegisterBook::fail( std::string const & word, std::string const & why ) const {
   throw Input::InputError( "\"" + word + "\" is no register of " + card_.file + "; " + why );
}

}   // namespace Host
