#include "tests/sm/Max24305Rig.h"

namespace SmTest {

namespace {

constexpr U32 response = 0x10;
constexpr U32 ctrl = 0x20;
constexpr U32 reset = 0x30;
constexpr U32 lastWord = 0x80000000;

}   // namespace

std::string chipRead( U32 address, U32 value ) { return "chip read " + hex( address ) + " gives " + hex( value ); }
std::string chipWrite( U32 address, U32 value ) { return "chip write " + hex( address ) + " " + hex( value ); }
std::string spiReset( U32 level ) { return "spi reset " + std::to_string( level ); }

void ScriptedChip::readsAre( U16 address, std::vector<U8> const & values ) {
   reads_[address].insert( reads_[address].end(), values.begin(), values.end() );
}

void ScriptedChip::read32( U32 address, U32 & value ) {
   switch ( address ) {
   case configOffset + response:
      value = std::exchange( response_, 0 );
      return;
   case configOffset + ctrl:
      value = ( stuck_ ? 4u << 16 : 0u ) | ( response_ ? 1u : 0u );
      return;
   case statusOffset:
      diary_.add( frequencyRead );
      value = frequencyInHz;
      return;
   default:
      ADD_FAILURE() << "a read of " << hex( address );
   }
}

void ScriptedChip::write32( U32 address, U32 value ) {
   if ( address == configOffset + reset ) {
      diary_.add( spiReset( value ) );
   } else if ( address != configOffset ) {
      ADD_FAILURE() << "a write to " << hex( address );
   } else if ( words_.empty() && value == lastWord ) {
      diary_.add( spiClose );
   } else {
      words_.push_back( value );
      if ( value & lastWord ) transaction();
   }
}

void ScriptedChip::transaction() {
   auto const words = std::exchange( words_, {} );
   ASSERT_EQ( words.size(), 4u );
   U32 const address = words[1] << 8 | words[2];
   if ( words[0] == 3 ) {
      EXPECT_EQ( words[3], 0x80001000 );
      if ( deadReads_ > 0 ) {
         --deadReads_;
         diary_.add( chipRead( address, 0xFF ) );
         return;
      }
      if ( auto & waiting = reads_[address]; !waiting.empty() ) {
         registers_[address] = waiting.front();
         waiting.pop_front();
      } else if ( !registers_.contains( address ) ) {
         ADD_FAILURE() << "a read of chip register " << hex( address ) << " that the script does not have";
      }
      response_ = lastWord | registers_[address];
      diary_.add( chipRead( address, registers_[address] ) );
      return;
   }
   EXPECT_EQ( words[0], 2u );
   EXPECT_EQ( words[3] & ~0xFFu, lastWord );
   stuck_ = stuckWrites_ > 0;
   if ( stuck_ ) --stuckWrites_;
   registers_[address] = static_cast<U8>( words[3] );
   diary_.add( chipWrite( address, words[3] & 0xFF ) );
}

Max24305World::Max24305World() {
   using namespace Hardware::Max24305;
   rig.diary.shortSleepNsIs( 1'000 );
   ham->hamImplIs( chip );
   config = configFactory(
      "ptp0", Fru::GenerationId( 1 ), configOffset, statusOffset, ham, "ptp0Reset", timeSync_, stuffedClock_,
      frequencyInHz, Fru::SlotId( 3 ), true );
   status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
   pllStatus = Hardware::Kiv::clockStatusFactory( "ptp0" );
   timeSync = PtpTimeSync::statusFactory( "timeSync" );
   redundancy = Redundancy::redundancyStatusFactory( "redundancy" );
   statusWatch = new StateWatch<Max24305StatusEntity>( status, diary, "status" );
   pllWatch = new StateWatch<ClockStatus>( pllStatus, diary, "clock" );
   chip->hardwarePresentIs( true );
   chip->readIs( 7, 0 );
   config->opsToDoValidIs( true );
   timeSync->stateIs( PtpTimeSync::acquiring_ );
   redundancy->modeIs( Redundancy::standby_ );
}

void Max24305World::opsAre( OpList const & ops ) {
   for ( auto const & [type, address, value] : ops )
      config->opsToDoEnq(
         Op( static_cast<U32>( config->opsToDo().count() ) + 1, static_cast<Hardware::Max24305::OpType>( type ),
             address, value ) );
}

Vor::Ptr<Max24305WithStuffedClockInputSm> Max24305World::stuffedClockMachine() {
   return Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
      redundancy, config, status, pllStatus, timeSync, gpoReset );
}

Vor::Ptr<Max24305WithStuffedClockInputSm> Max24305World::readyMachine() {
   chip->readIs( 7, 0x11 );
   auto machine = stuffedClockMachine();
   rig.turns();
   diary.take();
   return machine;
}

Vor::Ptr<Max24305Sm> Max24305World::bareMachine() {
   return Max24305Sm::Max24305SmIs( redundancy, config, status, pllStatus, timeSync, gpoReset );
}

Lines Max24305World::takeDeeds() {
   Lines deeds;
   for ( std::string & line : diary.take() )
      if ( !line.starts_with( "trace" ) ) deeds.push_back( std::move( line ) );
   return deeds;
}

Lines Max24305World::takeTraces() {
   Lines traces = diary.of( { "trace" } );
   diary.take();
   return traces;
}

Lines Max24305World::attemptStart() {
   return { gpo( true ),          sleep( 300'000'000 ), gpo( false ),       sleep( 500'000'000 ), spiClose,
            sleep( 500'000'000 ), spiReset( 1 ),        sleep( 5'000'000 ), spiReset( 0 ),        sleep( 5'000'000 ) };
}

Lines Max24305World::attemptFailed() {
   return { told( "status", "failed" ), told( "clock", "failed" ), sleep( 1'000'000'000 ) };
}

testing::Matcher<std::string const &>
assertionOf( std::string const & function, std::string const & expression, Lines const & diary ) {
   std::string together;
   for ( std::string const & line : diary ) together += line + "\n";
   return testing::AllOf(
      testing::HasSubstr( ": Max24305Sm:" ),
      testing::HasSubstr( ": " + function + ": Assertion `" + expression + "' failed.\n" ),
      testing::HasSubstr( together ) );
}

Lines gateOpen(
   std::string const & timeSync, std::string const & status, std::string const & clock, std::string const & machine ) {
   return {
      trace(
         1, "handleEnvironmentChanges",
         "virtual void Hardware::" + machine + "::handleEnvironmentChanges() state : " + timeSync ),
      trace( 1, "handleEnvironmentChanges", " status : " + status + " pllStatus : " + clock ) };
}

std::string gateSays( std::string const & message ) {
   return trace( 1, "handleEnvironmentChanges", "handleEnvironmentChanges" + message );
}

}   // namespace SmTest
