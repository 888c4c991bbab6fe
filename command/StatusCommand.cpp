// The everyday view of a card: it reads one snapshot of the state log, and asks nobody.
#include "card/CardLock.h"
#include "command/StateCommands.h"
#include "hardware/Max24305Status.h"
#include "hardware/TolvaneStatus.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/AgentStatus.h"
#include "service/ControlSocket.h"
#include "service/Exit.h"
#include "service/WallTime.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

namespace Host {

namespace {

using Input::Json;

struct ChipView {
   std::string name;
   std::string state;
   std::string clock;    // empty where it has none of its own
   bool feeds = false;   // a Tolvane
   bool ready = false;
   Vor::Ptr<ChipProgress> progress;   // empty where the agent tells none
};

std::optional<U64> ageMs( ChipView const & chip, U64 nowMs ) {
   U64 const since = chip.progress ? chip.progress->stateSinceMs() : 0;
   return since == 0 ? std::nullopt : std::optional( nowMs > since ? nowMs - since : 0 );
}

std::string ageText( U64 ms ) {
   U64 const s = ms / 1000;
   if ( s < 60 ) return fmt::format( "{}.{} s", s, ms % 1000 / 100 );
   if ( s < 3600 ) return fmt::format( "{} min {:02} s", s / 60, s % 60 );
   if ( s < 86400 ) return fmt::format( "{} h {:02} min", s / 3600, s / 60 % 60 );
   return fmt::format( "{} d {:02} h", s / 86400, s / 3600 % 24 );
}

std::vector<ChipView> chipsOf( StateView const & view ) {
   std::vector<ChipView> chips;
   auto const add = [&]( auto const & status, bool feeds, bool ready ) {
      std::string const name = status->name().charPtr();
      auto const clock = view.the<Hardware::Kiv::ClockStatus>( "/hardware/kiv/clockStatus/" + name );
      chips.push_back(
         { name, stringValue( status->state() ).stdString(), clock ? stringValue( clock->state() ).stdString() : "",
           feeds, ready, view.the<ChipProgress>( "/agent/chip/" + name ) } );
   };
   for ( auto const & entity : view.entities() ) {
      if ( auto const tolvane = Vor::ptrCast<Hardware::Tolvane::Status>( entity ) )
         add( tolvane, true, tolvane->state() == Hardware::Tolvane::ready_ );
      if ( auto const max24305 = Vor::ptrCast<Hardware::Max24305::Status>( entity ) )
         add( max24305, false, max24305->state() == Hardware::Max24305::ready_ );
   }
   std::ranges::sort( chips, {}, []( ChipView const & chip ) { return std::pair( !chip.feeds, chip.name ); } );
   return chips;
}

// Of the agent that wrote the state; empty where it looks after its card, as far as can be told from here.
std::string absence( Vor::Ptr<AgentStatus> const & agent ) {
   if ( !agent ) return "no agent has told its state here";
   if ( agent->role() == "stopped" ) return "the agent has stopped: this is what it told last";
   // A socket that stands here is this machine's, and a killed agent leaves it.
   std::string const socket = agent->socket().stdString();
   std::error_code error;
   if ( !socket.empty() && std::filesystem::exists( socket, error ) && !agentListens( socket ) )
      return "the agent does not answer: this is what it told last";
   return "";
}

std::map<std::string, std::string> gateOf( ChipProgress const & progress ) {
   std::map<std::string, std::string> rows;
   for ( auto const & [condition, value] : progress.gate() ) rows[condition.stdString()] = value.stdString();
   return rows;
}

Json chipJson( ChipView const & chip, U64 nowMs ) {
   Json json{ { "chip", chip.name }, { "state", chip.state }, { "ready", chip.ready } };
   if ( !chip.clock.empty() ) json["clock"] = chip.clock;
   auto const age = ageMs( chip, nowMs );
   json["ageMs"] = age ? Json( *age ) : Json();
   if ( !chip.progress ) return json;
   ChipProgress const & progress = *chip.progress;
   json["attempt"] = { { "number", progress.attempt() }, { "of", progress.attempts() } };
   json["operation"] = { { "number", progress.operation() }, { "of", progress.operations() } };
   json["poll"] = { { "number", progress.poll() }, { "of", progress.polls() } };
   json["gate"] = gateOf( progress );
   json["cause"] = progress.cause().stdString();
   json["adopted"] = progress.adopted().stdString();
   return json;
}

std::string chipText( ChipView const & chip, U64 nowMs, Style const & style ) {
   auto const age = ageMs( chip, nowMs );
   std::string text = fmt::format(
      "{}  {}{}{}\n", style.strong( chip.name ), style.painted( toneOfState( chip.state ), chip.state ),
      age ? " for " + ageText( *age ) : "",
      chip.clock.empty() ? "" : ", clock " + style.painted( toneOfState( chip.clock ), chip.clock ) );
   if ( !chip.progress ) return text;
   auto const add = [&]( std::string const & title, std::string const & what ) {
      if ( what.empty() ) return;
      constexpr std::size_t titleWidth = 12;
      std::vector<std::string> const rows = wrapped( what, lineWidth - titleWidth - 3 );
      for ( std::size_t at = 0; at < rows.size(); ++at )
         text += fmt::format( "   {}{}\n", padded( at == 0 ? title : "", titleWidth ), rows[at] );
   };
   auto const count = []( U32 number, U32 of ) { return fmt::format( "{} of {}", number, of ); };
   ChipProgress const & progress = *chip.progress;
   if ( progress.attempt() > 0 )
      add(
         "attempt",
         count( progress.attempt(), progress.attempts() ) +
            ( progress.operations() > 0 ? ", operation " + count( progress.operation(), progress.operations() )
                                        : "" ) );
   if ( progress.poll() > 0 ) add( "lock poll", count( progress.poll(), progress.polls() ) );
   std::string gate;
   for ( auto const & [condition, value] : gateOf( progress ) )
      gate += ( gate.empty() ? "" : ", " ) + condition + " " + value;
   add( "gate", gate );
   add( "cause", progress.cause().stdString() );
   add( "adopted", progress.adopted().stdString() );
   return text;
}

}   // namespace

int status( StateOptions const & options ) {
   StateView const view( options );
   Style const style = styleOf( STDOUT_FILENO );
   U64 const nowMs = wallMs();
   auto const agent = view.the<AgentStatus>( "/agent" );
   auto const timeSync = view.the<PtpTimeSync::Status>( "/timeSync" );
   auto const redundancy = view.the<Redundancy::RedundancyStatus>( "/redundancy" );
   std::vector<ChipView> const chips = chipsOf( view );
   std::string const absent = absence( agent );
   bool const ready = absent.empty() && !chips.empty() && std::ranges::all_of( chips, &ChipView::ready );
   auto const wordOf = []( auto const & entity, auto getter ) {
      return entity ? stringValue( ( *entity.*getter )() ).stdString() : "";
   };
   std::string const told = wordOf( timeSync, &PtpTimeSync::Status::state );
   std::string const mode = wordOf( redundancy, &Redundancy::RedundancyStatus::mode );

   if ( options.json ) {
      Json json{ { "ready", ready }, { "position", positionText( view.position() ).stdString() } };
      json["absent"] = absent;
      if ( agent )
         json["agent"] = {
            { "role", agent->role().stdString() },
            { "generation", agent->generation() },
            { "process", agent->process() },
            { "card", agent->card().stdString() },
            { "activity", agent->activity().stdString() },
            { "socket", agent->socket().stdString() } };
      json["timeSync"] = {
         { "told", told },
         { "source", agent ? agent->timeSyncSource().stdString() : "" },
         { "heldBack", agent ? agent->heldBack().stdString() : "" } };
      json["redundancyMode"] = mode;
      json["chips"] = Json::array();
      for ( ChipView const & chip : chips ) json["chips"].push_back( chipJson( chip, nowMs ) );
      std::cout << jsonText( json );
      return ready ? exitReady : exitNotReady;
   }
   if ( !absent.empty() ) std::cout << style.bad( absent ) << '\n';
   if ( agent )
      std::cout << fmt::format(
         "agent      {}, generation {}, process {}{}\n", agent->role().stdString(), agent->generation(),
         agent->process(), agent->activity().empty() ? "" : ": " + agent->activity().stdString() );
   if ( timeSync ) {
      std::string const source = agent ? agent->timeSyncSource().stdString() : "";
      std::cout << "time sync  " << told << ( source.empty() || source == told ? "" : ", the source says " + source )
                << '\n';
   }
   if ( redundancy ) std::cout << "mode       " << mode << '\n';
   if ( agent && !agent->heldBack().empty() ) std::cout << "held back  " << style.busy( agent->heldBack() ) << '\n';
   for ( ChipView const & chip : chips ) std::cout << chipText( chip, nowMs, style );
   return ready ? exitReady : exitNotReady;
}

}   // namespace Host
