#include "registers/RegisterBook.h"

#include "framework/Reflection.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "input/Json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Host {

namespace {

// The fields of a register type: settable plain attributes other than the whole value.
bool isField( Vor::Attribute const & attribute ) {
   return attribute.kind == Vor::Attribute::Kind::plain && attribute.set && attribute.name != "value";
}

template<class Register> std::string fieldsTextOf( U32 value ) {
   Register const reg( value );
   std::string text;
   for ( Vor::Attribute const & attribute : Register::staticType().attributes() ) {
      if ( !isField( attribute ) ) continue;
      text += fmt::format(
         "{}{} {}", text.empty() ? "" : ", ", attribute.name,
         Vor::valueText( Vor::Reflected( reg ).get( attribute.name ) ).stdString() );
   }
   return text;
}

U64 numberOfField( Vor::Value const & value ) {
   if ( auto const * flag = std::get_if<bool>( &value ) ) return *flag;
   return std::get<U64>( value );
}

template<class Register> U32 fieldIsOf( U32 value, std::string const & field, std::string const & text ) {
   std::vector<std::string_view> fields;
   for ( Vor::Attribute const & attribute : Register::staticType().attributes() )
      if ( isField( attribute ) ) fields.push_back( attribute.name );
   if ( std::find( fields.begin(), fields.end(), field ) == fields.end() )
      throw Input::InputError( "there is no field \"" + field + "\"; expected " + Input::choicesText( fields ) );
   // Setters drop what does not fit silently; a user is told.
   std::string const number = text == "true" ? "1" : text == "false" ? "0" : text;
   Register all( 0xFFFF'FFFF );
   U64 const maximum = numberOfField( Vor::Reflected( all ).get( field ) );
   auto const wanted = numberOf( number );
   if ( !wanted || *wanted > maximum )
      throw Input::InputError(
         fmt::format( "the field \"{}\": expected a number from 0 to {}, found \"{}\"", field, maximum, text ) );
   Register reg( value );
   Vor::Reflected( reg ).set( field, U64{ *wanted } );
   return reg.value();
}

template<class Register> RegisterKind kindOf( bool readHasEffect = false ) {
   std::string_view name = Register::staticType().name();
   name.remove_prefix( name.rfind( ':' ) + 1 );
   std::string lower( name );
   lower.front() = static_cast<char>( std::tolower( static_cast<unsigned char>( lower.front() ) ) );
   return { lower, readHasEffect, &fieldsTextOf<Register>, &fieldIsOf<Register> };
}

template<class Register> RegisterKind const & kind( bool readHasEffect = false ) {
   static RegisterKind const one = kindOf<Register>( readHasEffect );
   return one;
}

std::string outputText( Input::GpoDescription const & output, U32 value ) {
   return fmt::format(
      "bit {} is {}, {}", output.bit, value >> output.bit & 1, output.active( value ) ? "active" : "inactive" );
}

}   // namespace

std::string RegisterPlace::fieldsText( U32 value ) const {
   if ( output ) return outputText( *output, value );
   std::string const text = kind ? kind->fieldsText( value ) : std::string();
   // A chip that does not answer reads as ones, and so may a register.
   if ( chip && value == 0xFF ) return text + ( text.empty() ? "" : "; " ) + "or no answer";
   return text;
}

RegisterBook::RegisterBook( Input::CardDescription const & card ) : card_( card ) {
   using namespace Hardware;
   auto const add = [this](
                       std::string const & owner, RegisterKind const & kind, U32 address,
                       Input::Max24305Description const * chip = nullptr ) {
      all_.push_back(
         { .name = owner + "." + kind.name, .chip = chip, .address = address, .kind = &kind, .output = nullptr } );
   };
   for ( Input::TolvaneDescription const & chip : card_.tolvanes )
      add( chip.name, kind<TolvaneEnable>(), chip.offset + TolvaneEnable::address() );
   for ( Input::Max24305Description const & chip : card_.max24305s ) {
      U32 const base = chip.configOffset;
      add( chip.name, kind<SpiCommandFifo>(), base + SpiCommandFifo::address() );
      add( chip.name, kind<SpiResponseFifo>( true ), base + SpiResponseFifo::address() );
      add( chip.name, kind<SpiCtrl>(), base + SpiCtrl::address() );
      add( chip.name, kind<SpiReset>(), base + SpiReset::address() );
      add( chip.name, kind<Max24305Status>(), chip.statusOffset + Max24305Status::address() );
      add( chip.name, kind<ApllStatus>(), ApllStatus::address(), &chip );
   }
   for ( Input::GpoDescription const & gpo : card_.gpos )
      all_.push_back( { .name = gpo.name, .chip = nullptr, .address = gpo.offset, .kind = nullptr, .output = &gpo } );
}

std::vector<RegisterPlace> RegisterBook::named( std::string const & word ) const {
   if ( !card_.tolvane( word ) && !card_.max24305( word ) ) return { one( word ) };
   std::vector<RegisterPlace> places;
   for ( RegisterPlace const & place : all_ )
      if ( place.name.starts_with( word + "." ) ) places.push_back( place );
   return places;
}

RegisterPlace RegisterBook::one( std::string const & word, std::string * field ) const {
   if ( auto const address = numberOf( word ) ) return ofNumber( word, *address );
   if ( auto const colon = word.find( ':' ); colon != std::string::npos )
      return ofChip( word, word.substr( 0, colon ), word.substr( colon + 1 ) );
   auto const find = [&]( std::string_view name ) {
      return std::find_if( all_.begin(), all_.end(), [&]( RegisterPlace const & p ) { return p.name == name; } );
   };
   auto found = find( word );
   if ( found == all_.end() && field ) {
      if ( auto const dot = word.rfind( '.' ); dot != std::string::npos ) {
         found = find( word.substr( 0, dot ) );
         if ( found != all_.end() && found->kind ) *field = word.substr( dot + 1 );
      }
   }
   if ( found != all_.end() ) return *found;
   std::vector<std::string_view> names;
   for ( RegisterPlace const & place : all_ ) names.push_back( place.name );
   std::string_view const near = Input::nearestChoice( word, names );
   fail(
      word, ( near.empty() ? "" : "did you mean \"" + std::string( near ) + "\"? Expected " ) +
               Input::choicesText( names ) + ", an address such as 0x2000, or a chip's register such as \"CHIP:7\"" );
}

RegisterPlace RegisterBook::ofNumber( std::string const & word, U32 address ) const {
   constexpr U32 wordSize = 4;
   if ( address % wordSize != 0 ) fail( word, "an address that is a multiple of 4" );
   auto const * mmap = std::get_if<Input::MmapAccess>( &card_.access );
   if ( mmap && address >= mmap->size ) fail( word, fmt::format( "an address below 0x{:x}", mmap->size ) );
   for ( RegisterPlace const & place : all_ ) {
      if ( place.chip || place.output || place.address != address ) continue;
      RegisterPlace result = place;
      result.name = word;
      return result;
   }
   return { .name = word, .chip = nullptr, .address = address, .kind = nullptr, .output = nullptr };
}

RegisterPlace
RegisterBook::ofChip( std::string const & word, std::string const & chip, std::string const & number ) const {
   Input::Max24305Description const * const max24305 = card_.max24305( chip );
   if ( !max24305 ) {
      std::vector<std::string_view> names;
      for ( Input::Max24305Description const & one : card_.max24305s ) names.push_back( one.name );
      fail( word, "a MAX24305 of the card before the colon: " + Input::choicesText( names ) );
   }
   auto const address = numberOf( number, 0xFFFF );
   if ( !address ) fail( word, "a register from 0 to 0xffff behind the colon" );
   for ( RegisterPlace const & place : all_ ) {
      if ( place.chip != max24305 || place.address != *address ) continue;
      RegisterPlace result = place;
      result.name = word;
      return result;
   }
   return { .name = word, .chip = max24305, .address = *address, .kind = nullptr, .output = nullptr };
}

void RegisterBook::fail( std::string const & word, std::string const & expected ) const {
   throw Input::InputError(
      "\"" + word + "\" is no register of " + card_.file + "; " + ( expected.starts_with( "did" ) ? "" : "expected " ) +
      expected );
}

std::optional<U32> numberOf( std::string_view text, U32 maximum ) {
   bool const hex = text.starts_with( "0x" ) || text.starts_with( "0X" );
   if ( hex ) text.remove_prefix( 2 );
   U32 value = 0;
   auto const [end, error] = std::from_chars( text.data(), text.data() + text.size(), value, hex ? 16 : 10 );
   if ( error != std::errc() || end != text.data() + text.size() || value > maximum ) return std::nullopt;
   return value;
}

}   // namespace Host
