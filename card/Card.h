// The entities of one card, and of the services around it, that the state machines work on: the access handle, the
// outputs, the directories of configurations and statuses, the clock statuses, time-sync and redundancy.
//
//    /hardware/tolvane/config/NAME    /hardware/max24305/config/NAME    /hardware/kiv/clockStatus/NAME
//    /hardware/tolvane/status/NAME    /hardware/max24305/status/NAME    /gpo/NAME
//
// How the card is reached is the maker's business: it hands in the handle's implementation and makes the outputs.
//
//    Host::Card card( description, hamImpl, []( Vor::Name name ) { return Hardware::setClearGpoFactory( name ); } );
//    Host::configure( card, Host::inventoryOf( card.description(), card.ham() ) );
//    card.handOver( "ptp0" );
#pragma once

#include "card/CardChange.h"
#include "card/CardInventory.h"
#include "hardware/Max24305ConfigDir.h"
#include "hardware/Max24305StatusDir.h"
#include "hardware/TolvaneConfigDir.h"
#include "hardware/TolvaneStatusDir.h"
#include "input/CardDescription.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "platform/SetClearGpo.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Sim {
class CardEvents;
}

namespace Host {

class Card {
 public:
   using MakeGpo = std::function<Vor::Ptr<Hardware::SetClearGpo>( Vor::Name )>;

   /// The outputs have their handle from the start, and the directories are empty.
   Card( Input::CardDescription description, Vor::Ptr<Fru::HamImpl> const & hamImpl, MakeGpo const & makeGpo );
   ~Card();
   Card( Card const & ) = delete;
   Card & operator=( Card const & ) = delete;

   Input::CardDescription const & description() const { return description_; }
   Vor::Ptr<Fru::Ham> ham() const { return ham_; }
   Vor::Ptr<Fru::HamImpl> hamImpl() const { return ham_->hamImpl(); }
   Vor::Ptr<PtpTimeSync::Status> timeSync() const { return timeSync_; }
   Vor::Ptr<Redundancy::RedundancyStatus> redundancy() const { return redundancy_; }
   Vor::Ptr<Hardware::Tolvane::ConfigDir> tolvaneConfigDir() const { return tolvaneConfigDir_; }
   Vor::Ptr<Hardware::Tolvane::StatusDir> tolvaneStatusDir() const { return tolvaneStatusDir_; }
   Vor::Ptr<Hardware::Max24305::ConfigDir> max24305ConfigDir() const { return max24305ConfigDir_; }
   Vor::Ptr<Hardware::Max24305::StatusDir> max24305StatusDir() const { return max24305StatusDir_; }

   /// The output of that name; empty where the card has none.
   Vor::Ptr<Hardware::SetClearGpo> gpo( std::string const & name ) const;
   /// The reset output of the chip of that name.
   Vor::Ptr<Hardware::SetClearGpo> resetGpoOf( std::string const & chip ) const;
   /// The clock status that the MAX24305 of that name writes.
   Vor::Ptr<Hardware::Kiv::ClockStatus> clockStatusOf( std::string const & chip ) const;
   /// By name.
   std::map<std::string, Vor::Ptr<Hardware::Kiv::ClockStatus>> const & clockStatuses() const { return clockStatuses_; }

   /// All of them, those that others refer to or stand under first. The card is configured.
   std::vector<Vor::Ptr<Vor::Entity const>> entities() const;

   /// The card is described otherwise from now on; `change` is what changeOf gave, and its chips have no machines.
   /// They lose their configurations and states, and those that are made anew have new ones, with their sequences
   /// handed over. Entities of all others stay as they are, and no register is touched.
   void descriptionIs( Input::CardDescription description, CardChange const & change );

   /// Hands over the sequence of the MAX24305 of that name, which is complete.
   void handOver( std::string const & chip );

   /// The chip runs, and its states say so, before it has a machine.
   void adopt( std::string const & chip ) const;
   /// Whether the states of the chip say that it is ready; of one without a machine, whether it was adopted.
   bool ready( std::string const & chip ) const;
   /// Whether every chip of the card is ready.
   bool allReady() const;

 private:
   void wire();

   Input::CardDescription description_;
   MakeGpo const makeGpo_;
   Vor::Ptr<Fru::Ham> const ham_;
   Vor::Ptr<PtpTimeSync::Status> const timeSync_;
   Vor::Ptr<Redundancy::RedundancyStatus> const redundancy_;
   Vor::Ptr<Vor::Entity> const gpo_;
   Vor::Ptr<Vor::Entity> const hardware_;
   Vor::Ptr<Vor::Entity> const tolvane_;
   Vor::Ptr<Vor::Entity> const max24305_;
   Vor::Ptr<Vor::Entity> const kiv_;
   Vor::Ptr<Vor::Entity> const clockStatus_;
   Vor::Ptr<Hardware::Tolvane::ConfigDir> const tolvaneConfigDir_;
   Vor::Ptr<Hardware::Tolvane::StatusDir> const tolvaneStatusDir_;
   Vor::Ptr<Hardware::Max24305::ConfigDir> const max24305ConfigDir_;
   Vor::Ptr<Hardware::Max24305::StatusDir> const max24305StatusDir_;
   std::map<std::string, Vor::Ptr<Hardware::SetClearGpo>> gpos_;
   std::map<std::string, Vor::Ptr<Hardware::Kiv::ClockStatus>> clockStatuses_;
};

/// The configurator: turns inventory records into configurations, with their sequences, and statuses in the card's
/// directories. It hands no sequence over.
void configure( Card & card, CardInventory const & inventory );

/// The states of all chips, and the clock statuses, are told of. The card is configured.
void statesAdd( Sim::CardEvents & events, Card const & card );

}   // namespace Host
