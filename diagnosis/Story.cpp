#include "diagnosis/Story.h"

#include "hal/KivHal.h"

#include <algorithm>
#include <utility>

namespace Diagnosis {

using namespace Hardware;

namespace {

constexpr U32 onesWord = 0xFFFF'FFFF;

constexpr std::size_t mostKept = 16;

// Forgets the oldest where there are too many.
template<class T> void keep( std::vector<T> & all, T one ) {
   if ( all.size() == mostKept ) all.erase( all.begin() );
   all.push_back( std::move( one ) );
}

// Whether the word is that of this register of the chip's SPI master.
template<class Register> bool isOf( Recording::Read32 const & read, ChipStory const & chip ) {
   return chip.max24305 && read.address == chip.max24305->configOffset + Register::address();
}

}   // namespace

Answer SpiSeen::answer() const {
   if ( byteTaken ) return Answer::byte_;
   if ( entryTaken ) return Answer::invalid_;
   if ( responsesLeft > 1 ) return Answer::several_;
   return commandsLeft > 0 ? Answer::notSent_ : Answer::none_;
}

std::size_t BringUp::failed() const {
   return static_cast<std::size_t>( std::ranges::count_if( attempts, &Attempt::failed ) );
}

Attempt const * BringUp::lastStopped() const {
   auto const last = std::ranges::find_if(
      attempts.rbegin(), attempts.rend(), []( Attempt const & one ) { return one.stoppedAt.has_value(); } );
   return last == attempts.rend() ? nullptr : &*last;
}

Story::Story( Recording::Header const & header, std::string const & words )
   : header_( header ), words_( words.empty() ? header.card.file : words ) {
   for ( auto const & chip : header_.card.tolvanes )
      chips_.push_back( { .name = chip.name, .resetOutput = chip.resetGpoName } );
   for ( auto const & chip : header_.card.max24305s )
      chips_.push_back( { .name = chip.name, .max24305 = &chip, .resetOutput = chip.resetGpoName } );
   for ( auto const & change : header_.start ) told( change );
}

ChipStory const & Story::chip( std::string_view name ) const {
   return *std::ranges::find( chips_, name, &ChipStory::name );
}

ChipStory & Story::chipOf( std::string_view name ) {
   auto const found = std::ranges::find( chips_, name, &ChipStory::name );
   // A log may have been written by hand.
   return found != chips_.end() ? *found : chips_.emplace_back( ChipStory{ .name = std::string( name ) } );
}

std::string Story::clock( std::string const & status ) const {
   auto const found = clocks_.find( status );
   return found == clocks_.end() ? "notReady" : found->second;
}

void Story::take( Recording::Event const & event ) {
   lastNs_ = event.ns;
   std::visit( [this]( auto const & what ) { told( what ); }, event.what );
}

void Story::told( Recording::Read32 const & read ) {
   if ( aside_ ) return;
   if ( read.value != onesWord ) {
      allOnesNs_.reset();
      onesInARow_ = 0;
   } else if ( onesInARow_++ == 0 ) {
      allOnesNs_ = lastNs_;
   }
   for ( ChipStory & chip : chips_ ) {
      if ( isOf<SpiCtrl>( read, chip ) ) {
         SpiCtrl const word( read.value );
         chip.spi.commandsLeft = word.writeFifoCount();
         chip.spi.responsesLeft = word.readFifoCount();
         if ( !chip.spi.commandsAtFirst ) chip.spi.commandsAtFirst = chip.spi.commandsLeft;
         chip.masterMoved = chip.masterMoved || ( read.value != 0 && read.value != onesWord );
      } else if ( isOf<SpiResponseFifo>( read, chip ) ) {
         chip.spi.entryTaken = true;
         chip.spi.byteTaken = chip.spi.byteTaken || SpiResponseFifo( read.value ).dataValid();
      }
   }
}

void Story::told( Recording::Gpo const & gpo ) {
   if ( !gpo.active ) return;
   for ( ChipStory & chip : chips_ ) {
      bool const programmed = chip.last() && chip.last()->programmedNs && !chip.last()->failedNs;
      if ( chip.resetOutput == gpo.name && programmed && chip.name != atWork_ && !chip.foreignReset )
         chip.foreignReset = ForeignReset{ atWork_, lastNs_ };
   }
}

void Story::told( Recording::State const & state ) {
   constexpr std::string_view clocks = "/hardware/kiv/clockStatus/";
   if ( state.entity.starts_with( clocks ) ) clocks_[state.entity.substr( clocks.size() )] = state.value;
}

void Story::told( Recording::Gate const & gate ) {
   ChipStory & chip = chipOf( gate.chip );
   atWork_ = chip.name;
   std::vector<GateRow> rows;
   for ( auto const & row : gate.rows ) {
      rows.push_back( { row.condition.stdString(), row.value.stdString(), row.met, lastNs_ } );
      auto const before = std::ranges::find( chip.gate, rows.back().condition, &GateRow::condition );
      if ( before != chip.gate.end() && before->value == rows.back().value ) rows.back().sinceNs = before->sinceNs;
   }
   chip.gate = std::move( rows );
   auto const unmet = std::ranges::find( chip.gate, false, &GateRow::met );
   if ( chip.state != "uninitialized" && unmet != chip.gate.end() ) keep( chip.losses, { *unmet } );
}

void Story::told( Recording::InputChange const & change ) {
   if ( change.what == Recording::adoptedInput ) {
      ChipStory & chip = chipOf( change.of );
      published( chip, "ready" );
      if ( chip.max24305 ) clocks_[chip.max24305->clockStatus] = "ready";
   }
   if ( change.what != "hardwarePresent" ) return;
   bool const absent = !absences_.empty() && !absences_.back().backNs;
   if ( change.value == 0 && !absent ) keep( absences_, { { "hardware", "absent", false, lastNs_ } } );
   if ( change.value != 0 && absent ) absences_.back().backNs = lastNs_;
}

void Story::told( Recording::Step const & step ) {
   ChipStory & chip = chipOf( step.chip );
   std::visit( [&]( auto const & one ) { stepTold( chip, one ); }, step.step );
}

template<class OneStep> void Story::stepTold( ChipStory & chip, OneStep const & step ) {
   using namespace Steps;
   SpiSeen const spi = std::exchange( chip.spi, {} );
   if constexpr ( std::same_as<OneStep, AttemptBegun> ) {
      atWork_ = chip.name;
      chip.foreignReset.reset();
      if ( step.number == 1 || chip.bringUps.empty() ) keep( chip.bringUps, {} );
      chip.bringUps.back().attempts.push_back( { .beganNs = lastNs_ } );
   }
   if constexpr ( std::same_as<OneStep, Published> || std::same_as<OneStep, TolvanePublished> )
      published( chip, stringValue( step.state ) );
   if ( chip.bringUps.empty() ) return;   // the recording begins in the middle
   BringUp & bringUp = chip.bringUps.back();
   Attempt & attempt = bringUp.attempts.back();
   if constexpr ( std::same_as<OneStep, OperationDone> )
      if ( step.outcome != Outcome::done_ ) {
         attempt.stoppedAt = step;
         attempt.spi = spi;
         attempt.failedNs = lastNs_;
      }
   if constexpr ( std::same_as<OneStep, EnableDone> ) attempt.enableWord = step.word;
   if constexpr ( std::same_as<OneStep, AttemptFailed> ) attempt.failedNs = lastNs_;
   if constexpr ( std::same_as<OneStep, ProgrammingEnded> )
      ( step.succeeded ? bringUp.programmedNs : bringUp.failedNs ) = lastNs_;
   if constexpr ( std::same_as<OneStep, LockPolled> ) bringUp.polls.push_back( { lastNs_, step.status, spi.answer() } );
   if constexpr ( std::same_as<OneStep, FrequencyRead> ) bringUp.frequencyInHz = step.frequencyInHz;
}

void Story::published( ChipStory & chip, Vor::String const & state ) {
   if ( chip.state == state.stdString() ) return;
   chip.state = state.stdString();
   chip.stateNs = lastNs_;
   if ( chip.ready() && !chip.losses.empty() && !chip.losses.back().backNs ) chip.losses.back().backNs = lastNs_;
   if ( chip.bringUps.empty() ) return;
   BringUp & bringUp = chip.bringUps.back();
   if ( chip.ready() ) bringUp.readyNs = lastNs_;
   if ( chip.state == "failed" && !bringUp.polls.empty() ) bringUp.failedNs = lastNs_;
}

}   // namespace Diagnosis
