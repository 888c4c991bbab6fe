#include "input/CardDescription.h"

#include "hal/KivHal.h"
#include "input/Json.h"
#include "input/SequenceFile.h"

#include <cinttypes>
#include <map>

namespace Input {

namespace {

std::string inQuotes( std::string const & name ) { return "\"" + name + "\""; }

// "0x2000", as addresses stand in messages.
std::string hexText( U64 value ) { return Vor::format( "0x%" PRIx64, value ).stdString(); }

class CardReader {
 public:
   explicit CardReader( JsonValue const & root ) : root_( root ) {}

   CardDescription read() {
      JsonObject object = root_.object();
      card_.file = root_.document().name();
      card_.json = root_.onOneLine();
      mistakes_.gather( [&] {
         card_.access = access( object["access"] );
         if ( auto const * mmap = std::get_if<MmapAccess>( &card_.access ) ) limit_ = mmap->size;
      } );
      object.gather( mistakes_, "genId", [&]( auto const & value ) { card_.genId = value.u32(); } );
      object.gather( mistakes_, "slotId", [&]( auto const & value ) { card_.slotId = value.u32(); } );
      outputsKnown_ = gatherAll( object["gpos"], Limits::outputs, &CardReader::gpo );
      JsonValue const chips = object["chips"];
      mistakes_.gather( [&] {
         if ( chips.list( Limits::chips ).empty() ) chips.fail( "a list of at least one chip" );
      } );
      mistakes_.gather( [&] { object.finish(); } );
      if ( gatherAll( chips, Limits::chips, &CardReader::chip ) )
         for ( auto const & fed : feeds_ ) mistakes_.gather( [&] { feed( card_.max24305s[fed.first], fed.second ); } );
      mistakes_.raise();
      return std::move( card_ );
   }

 private:
   // Reads the members of a list, each for itself; whether all could be read.
   bool gatherAll( JsonValue const & list, Limit const & limit, void ( CardReader::*read )( JsonValue const & ) ) {
      bool all = true;
      bool const isList = mistakes_.gather( [&] {
         for ( JsonValue const & value : list.list( limit ) )
            all &= mistakes_.gather( [&] { ( this->*read )( value ); } );
      } );
      return isList && all;
   }

   std::variant<SimulatedAccess, MmapAccess> access( JsonValue const & value ) const {
      JsonObject object = value.object();
      if ( object["kind"].oneOf( { "simulated", "mmap" } ) == 0 ) {
         SimulatedAccess access;
         if ( object.has( "spiClockInHz" ) ) access.spiClockInHz = object["spiClockInHz"].u64( 1, 1'000'000'000 );
         if ( object.has( "lockAfterNs" ) ) access.lockAfterNs = object["lockAfterNs"].u64();
         if ( object.has( "socket" ) ) access.socket = besideFile( card_.file, object["socket"].name() );
         object.finish();
         return access;
      }
      MmapAccess access;
      access.path = besideFile( card_.file, object["path"].name() );
      if ( object.has( "offset" ) ) access.offset = object["offset"].u64( 0, U64{ 1 } << 62 );
      if ( access.offset % 4 != 0 ) object["offset"].fail( "a multiple of 4" );
      access.size = static_cast<U32>( object["size"].u64( 4, 0xFFFF'FFFC ) );
      if ( access.size % 4 != 0 ) object["size"].fail( "a multiple of 4" );
      object.finish();
      return access;
   }

   void gpo( JsonValue const & value ) {
      JsonObject object = value.object();
      GpoDescription gpo;
      gpo.name = object["name"].name();
      if ( card_.gpo( gpo.name ) )
         object["name"].failWith( "two outputs are named " + inQuotes( gpo.name ) + "; expected a name of its own" );
      gpo.offset = object["offset"].u32();
      gpo.bit = object["bit"].u32( 31 );
      if ( object.has( "activeType" ) ) gpo.activeType = enumeratorOf<Fru::ActiveType>( object["activeType"] );
      object.finish();
      std::string const owner = "the output " + inQuotes( gpo.name );
      if ( auto const * first = claim( gpo.offset, 0, gpo.mask(), owner, object["offset"] ) )
         object["bit"].failWith(
            "bit " + std::to_string( gpo.bit ) + " at " + hexText( gpo.offset ) + " is " + first->owner +
            " already; expected a bit of its own" );
      card_.gpos.push_back( std::move( gpo ) );
   }

   void chip( JsonValue const & value ) {
      JsonObject object = value.object();
      std::size_t const kind = object["kind"].oneOf( { "tolvane", "max24305" } );
      JsonValue const name = object["name"];
      if ( card_.tolvane( name.name() ) || card_.max24305( name.name() ) )
         name.failWith( "two chips are named " + inQuotes( name.name() ) + "; expected a name of its own" );
      if ( name.name().find_first_of( "/:. " ) != std::string::npos )
         name.fail( "a name without blanks, '/', ':' and '.', which part names from one another" );
      if ( kind == 0 )
         tolvane( object );
      else
         max24305( object );
   }

   void tolvane( JsonObject & object ) {
      TolvaneDescription chip;
      chip.name = object["name"].name();
      chip.offset = object["offset"].u32();
      chip.resetGpoName = resetGpoName( object["resetGpoName"] );
      if ( object.has( "role" ) ) chip.role = enumeratorOf<Hardware::Tolvane::Role>( object["role"] );
      object.finish();
      blockClaim( Hardware::tolvaneBlock, "the enable register of " + inQuotes( chip.name ), object["offset"] );
      card_.tolvanes.push_back( std::move( chip ) );
   }

   void max24305( JsonObject & object ) {
      using namespace Hardware::Max24305;
      Max24305Description chip;
      chip.name = object["name"].name();
      chip.configOffset = object["configOffset"].u32();
      chip.statusOffset = object["statusOffset"].u32();
      chip.resetGpoName = resetGpoName( object["resetGpoName"] );
      if ( object.has( "role" ) ) chip.role = enumeratorOf<Role>( object["role"] );
      chip.input = enumeratorOf<Hardware::Max24305::Input>( object["input"] );
      JsonValue const feeder = object["tolvane"];
      if ( chip.input != tolvane_ && feeder.present() )
         feeder.fail( "no feeding Tolvane, since \"input\" is not \"tolvane\"" );
      if ( object.has( "programSeq" ) ) chip.programSeq = enumeratorOf<ProgramSeq>( object["programSeq"] );
      if ( object.has( "outputFrequencyInHz" ) ) chip.outputFrequencyInHz = object["outputFrequencyInHz"].u32();
      chip.spiResetSupported = object["spiResetSupported"].boolean();
      chip.clockStatus = object.has( "clockStatus" ) ? object["clockStatus"].name() : chip.name;
      mistakes_.gather( [&] { sequence( object["sequence"], chip ); } );
      simulated( object, chip );
      object.finish();
      blockClaim( Hardware::spiMasterBlock, "the SPI master of " + inQuotes( chip.name ), object["configOffset"] );
      blockClaim(
         Hardware::frequencyBlock, "the frequency register of " + inQuotes( chip.name ), object["statusOffset"] );
      if ( chip.input == tolvane_ ) feeds_.emplace_back( card_.max24305s.size(), feeder );
      card_.max24305s.push_back( std::move( chip ) );
   }

   void simulated( JsonObject & object, Max24305Description & chip ) const {
      auto const * access = std::get_if<SimulatedAccess>( &card_.access );
      chip.simulatedLockAfterNs = access ? access->lockAfterNs : 0;
      if ( !object.has( "simulated" ) ) return;
      if ( !access )
         object["simulated"].fail( "no simulated properties, since the card's access is not \"simulated\"" );
      JsonObject simulated = object["simulated"].object();
      if ( simulated.has( "lockAfterNs" ) ) chip.simulatedLockAfterNs = simulated["lockAfterNs"].u64();
      if ( simulated.has( "apllStatus" ) )
         chip.simulatedApllStatus = static_cast<U8>( simulated["apllStatus"].u32( 0xFF ) );
      if ( simulated.has( "settleNs" ) ) chip.simulatedSettleNs = simulated["settleNs"].u64();
      if ( simulated.has( "volatile" ) ) chip.simulatedVolatile = volatileBits( simulated["volatile"] );
      simulated.finish();
   }

   static std::map<U16, U8> volatileBits( JsonValue const & value ) {
      std::map<U16, U8> masks;
      for ( JsonValue const & item : value.list() ) {
         JsonObject object = item.object();
         auto const address = static_cast<U16>( object["address"].u32( 0xFFFF ) );
         auto const mask = static_cast<U8>( object["mask"].u64( 1, 0xFF ) );
         object.finish();
         if ( !masks.emplace( address, mask ).second )
            item.failWith( "register " + std::to_string( address ) + " stands here twice; expected one mask for it" );
      }
      return masks;
   }

   void sequence( JsonValue const & value, Max24305Description & chip ) {
      if ( value.isText() ) {
         NamedFile const file = value.file( "the sequence file" );
         chip.sequenceFile = file.path;
         chip.sequence = sequenceOf( file.path, file.content, &chip.sequenceLines );
         return;
      }
      if ( !value.isList() ) value.fail( "the path of a sequence file or a list of operations" );
      chip.sequencePlace = card_.file + ": " + value.pointer();
      for ( JsonValue const & text : value.list( Limits::operations ) )
         mistakes_.gather( [&] {
            try {
               chip.sequence.push_back( opOf( text.text(), static_cast<U32>( chip.sequence.size() ) ) );
            } catch ( OpError const & error ) {
               text.failWith( "column " + std::to_string( error.column ) + ": " + error.message );
            }
         } );
   }

   std::string resetGpoName( JsonValue const & value ) const {
      std::string const name = value.name();
      if ( outputsKnown_ && !card_.gpo( name ) )
         value.failWith(
            "there is no output " + inQuotes( name ) +
            "; expected one of \"gpos\": " + choicesText( namesOf( card_.gpos ) ) );
      return name;
   }

   void feed( Max24305Description & chip, JsonValue const & place ) const {
      if ( place.present() ) {
         chip.tolvane = place.name();
         if ( card_.tolvane( chip.tolvane ) ) return;
         place.failWith(
            "there is no Tolvane " + inQuotes( chip.tolvane ) +
            "; expected one of the chips of kind \"tolvane\": " + choicesText( namesOf( card_.tolvanes ) ) );
      }
      if ( card_.tolvanes.size() != 1 )
         place.fail(
            "the name of the feeding Tolvane, which may be left out only where the card has exactly one (it has " +
            std::to_string( card_.tolvanes.size() ) + ")" );
      chip.tolvane = card_.tolvanes.front().name;
   }

   // Some bits of a register, whose they are, and where the description says so.
   struct Claim {
      U32 bits;
      std::string owner;
      std::string pointer;
   };

   // The registers of the block whose offset stands at `place` are the owner's.
   void blockClaim( Hal::Registers block, std::string const & owner, JsonValue const & place ) {
      for ( Hal::RegisterDeclaration const & reg : block )
         if ( auto const * first = claim( place.u32(), reg.address, 0xFFFF'FFFF, owner, place ) )
            place.failWith(
               "the register at " + hexText( U64{ place.u32() } + reg.address ) + " of " + owner + " belongs to " +
               first->owner + " already (" + first->pointer + "); expected offsets that do not overlap, found " +
               std::to_string( place.u32() ) );
   }

   // The earlier claim that stands in the way, or null.
   Claim const * claim( U32 base, U32 address, U32 bits, std::string const & owner, JsonValue const & place ) {
      constexpr U64 wordSize = 4;
      if ( base % wordSize != 0 )
         place.failWith(
            "expected an offset that is a multiple of 4, for a register is a 32-bit word; found " +
            std::to_string( base ) );
      U64 const at = U64{ base } + address;
      if ( at + wordSize > limit_ )
         place.failWith(
            "the register at " + hexText( at ) + " of " + owner + " lies outside the card's space; expected it below " +
            hexText( limit_ ) + ", found the offset " + std::to_string( base ) );
      auto const [first, last] = claims_.equal_range( at );
      for ( auto it = first; it != last; ++it )
         if ( it->second.bits & bits ) return &it->second;
      claims_.emplace( at, Claim{ bits, owner, place.pointer() } );
      return nullptr;
   }

   JsonValue root_;
   CardDescription card_;
   Mistakes mistakes_;
   bool outputsKnown_ = false;                              // else nobody can say that there is none of a name
   U64 limit_ = U64{ 1 } << 32;                             // of the card's space
   std::multimap<U64, Claim> claims_;                       // by address: a register may be shared bit by bit
   std::vector<std::pair<std::size_t, JsonValue>> feeds_;   // the chips fed by a Tolvane, which may stand behind them
};

}   // namespace

std::string CardDescription::place() const {
   if ( auto const * mmap = std::get_if<MmapAccess>( &access ) ) return mmap->path;
   return std::get<SimulatedAccess>( access ).socket;
}

std::vector<std::string> CardDescription::files() const {
   std::vector<std::string> files{ file, place() };
   for ( Max24305Description const & chip : max24305s ) files.push_back( chip.sequenceFile );
   return files;
}

std::vector<Sim::ScenarioChip> CardDescription::scenarioChips() const {
   std::vector<Sim::ScenarioChip> chips;
   for ( TolvaneDescription const & chip : tolvanes ) chips.push_back( { chip.name, Sim::FaultTarget::tolvane_ } );
   for ( Max24305Description const & chip : max24305s ) chips.push_back( { chip.name, Sim::FaultTarget::max24305_ } );
   return chips;
}

Sim::SimulatedCard::Parameters simulatedParameters( CardDescription const & description ) {
   Sim::SimulatedCard::Parameters parameters;
   parameters.spiClockInHz = std::get<SimulatedAccess>( description.access ).spiClockInHz;
   for ( GpoDescription const & gpo : description.gpos )
      parameters.outputs.push_back(
         { .name = gpo.name, .offset = gpo.offset, .bit = gpo.bit, .activeType = gpo.activeType } );
   for ( TolvaneDescription const & chip : description.tolvanes )
      parameters.tolvanes.push_back( { .name = chip.name, .offset = chip.offset, .resetGpoName = chip.resetGpoName } );
   for ( Max24305Description const & chip : description.max24305s )
      parameters.max24305s.push_back(
         { .name = chip.name,
           .configOffset = chip.configOffset,
           .statusOffset = chip.statusOffset,
           .spiResetSupported = chip.spiResetSupported,
           .resetGpoName = chip.resetGpoName,
           .outputFrequencyInHz = chip.outputFrequencyInHz,
           .lockAfterNs = chip.simulatedLockAfterNs,
           .apllStatus = chip.simulatedApllStatus,
           .settleNs = chip.simulatedSettleNs,
           .volatileBits = chip.simulatedVolatile } );
   return parameters;
}

CardDescription cardDescription( JsonValue const & root ) { return CardReader( root ).read(); }

CardDescription readCard( std::string const & path ) { return cardDescription( readJson( path ).root() ); }

CardDescription cardOfScenario( JsonValue const & scenario ) {
   JsonValue const card = scenario.object()["card"];
   if ( card.isText() ) {
      NamedFile const file = card.file( "the card description" );
      return cardDescription( JsonDocument( file.path, file.content ).root() );
   }
   if ( !card.isObject() ) card.fail( "the path of a card description, or a card description in place" );
   return cardDescription( card );
}

void requireSimulated( CardDescription const & card ) {
   if ( !std::holds_alternative<SimulatedAccess>( card.access ) )
      throw InputError(
         card.file + ": /access/kind: only a simulated card can be simulated; expected \"simulated\", found \"mmap\"" );
}

}   // namespace Input
