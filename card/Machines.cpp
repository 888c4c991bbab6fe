#include "card/Machines.h"

#include "input/InputError.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "sm/TolvaneSm.h"

#include <algorithm>

namespace Host {

namespace {

void requireServed( Input::CardDescription const & card, Input::Max24305Description const & chip ) {
   Hardware::Max24305::Input const input = chip.input;
   if ( input == Hardware::Max24305::tolvane_ || input == Hardware::Max24305::stuffedClock_ ) return;
   throw Input::InputError(
      card.file + ": the chip \"" + chip.name + "\" has the input \"" + stringValue( input ).stdString() +
      "\", from which it cannot be brought up; expected \"tolvane\" or \"stuffedClock\"" );
}

}   // namespace

void requireServedInputs( Input::CardDescription const & card ) {
   for ( Input::Max24305Description const & chip : card.max24305s ) requireServed( card, chip );
}

Vor::Ptr<Vor::PtrInterface> max24305Machine( Card const & card, std::string const & chip ) {
   using namespace Hardware;
   Input::Max24305Description const & description = *card.description().max24305( chip );
   requireServed( card.description(), description );
   Vor::Ptr<Max24305::Config> const config = card.max24305ConfigDir()->max24305( chip );
   Vor::Ptr<Max24305::Status> const status = card.max24305StatusDir()->max24305( chip );
   Vor::Ptr<Fru::Gpo const> const resetGpo = card.gpo( config->resetGpoName().string().stdString() );
   if ( config->input() == Max24305::tolvane_ )
      return Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
         card.redundancy(), config, status, card.clockStatusOf( chip ), card.timeSync(), resetGpo,
         card.tolvaneStatusDir()->tolvane( description.tolvane ) );
   return Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
      card.redundancy(), config, status, card.clockStatusOf( chip ), card.timeSync(), resetGpo );
}

Vor::Ptr<Vor::PtrInterface> tolvaneMachine( Card const & card, std::string const & chip ) {
   Vor::Ptr<Hardware::Tolvane::Config> const config = card.tolvaneConfigDir()->tolvane( chip );
   return Hardware::TolvaneSm::TolvaneSmIs(
      config, card.tolvaneStatusDir()->tolvane( chip ), card.gpo( config->resetGpoName().string().stdString() ) );
}

// Waits for the end of a Tolvane that runs.
class Machines::RunningTolvane final : public Vor::PtrInterface {
 public:
   RunningTolvane( Card const & card, std::string const & chip )
      : card_( card ),
        chip_( chip ),
        presence_( new Presence( *this, card.hamImpl() ) ),
        wiring_( new Wiring( *this, card.resetGpoOf( chip ) ) ) {}

   Vor::Ptr<Vor::PtrInterface> machine() const { return machine_; }

 private:
   struct Presence final : Fru::HamImpl::NotifieeConst {
      Presence( RunningTolvane & tolvane, Vor::Ptr<Fru::HamImpl const> const & ham ) : tolvane( tolvane ) {
         vorAttach( ham );
      }
      void onHardwarePresent() override { tolvane.look(); }
      RunningTolvane & tolvane;
   };
   struct Wiring final : Hardware::SetClearGpo::NotifieeConst {
      Wiring( RunningTolvane & tolvane, Vor::Ptr<Hardware::SetClearGpo const> const & output ) : tolvane( tolvane ) {
         vorAttach( output );
      }
      void onHam() override { tolvane.look(); }
      RunningTolvane & tolvane;
   };

   void look() {
      if ( !machine_ && !( card_.hamImpl()->hardwarePresent() && card_.resetGpoOf( chip_ )->ham() ) )
         machine_ = tolvaneMachine( card_, chip_ );
   }

   Card const & card_;
   std::string const chip_;
   Vor::Ptr<Presence> const presence_;
   Vor::Ptr<Wiring> const wiring_;
   Vor::Ptr<Vor::PtrInterface> machine_;
};

// Those who wait for the end of a Tolvane join before the other machines' reactors: they are told first.
Machines::Machines( Card const & card, std::set<std::string> const & running ) : card_( card ) {
   requireServedInputs( card.description() );
   for ( Input::TolvaneDescription const & chip : card.description().tolvanes )
      if ( running.contains( chip.name ) ) running_[chip.name] = new RunningTolvane( card, chip.name );
}

Machines::~Machines() = default;

bool Machines::makeNext() {
   auto const hasNone = [this]( auto const & chip ) {
      return !running_.contains( chip.name ) && !machines_.contains( chip.name );
   };
   auto const & card = card_.description();
   if ( auto const tolvane = std::ranges::find_if( card.tolvanes, hasNone ); tolvane != card.tolvanes.end() )
      machines_[tolvane->name] = tolvaneMachine( card_, tolvane->name );
   else if ( auto const chip = std::ranges::find_if( card.max24305s, hasNone ); chip != card.max24305s.end() )
      machines_[chip->name] = max24305Machine( card_, chip->name );
   else
      return false;
   return true;
}

void Machines::del( std::set<std::string> const & chips ) {
   for ( std::string const & chip : chips ) {
      running_.erase( chip );
      machines_.erase( chip );
   }
}

Vor::Ptr<Vor::PtrInterface> Machines::machine( std::string const & chip ) const {
   if ( auto const running = running_.find( chip ); running != running_.end() ) return running->second->machine();
   auto const found = machines_.find( chip );
   return found == machines_.end() ? nullptr : found->second;
}

}   // namespace Host
