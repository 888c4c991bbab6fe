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

// What is wrong with a chip that is ready.
std::string watchedOf( ChipView const & chip ) { return chip.progress ? chip.progress->watched().stdString() : ""; }

bool well( ChipView const & chip ) { return chip.ready && watchedOf( chip ).empty(); }

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
   json["watched"] = progress.watched().stdString();
   json["watchedSinceMs"] = progress.watchedSinceMs();
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
      gate += fmt::format( "{}{} {}", gate.empty() ? "" : ", ", condition, value );
   add( "gate", gate );
   if ( std::string const trouble = watchedOf( chip ); !trouble.empty() ) {
      U64 const since = progress.watchedSinceMs();
      add( "not well", fmt::format( "{}, for {}", trouble, ageText( nowMs > since ? nowMs - since : 0 ) ) );
   }
   add( "cause", progress.cause().stdString() );
   add( "adopted", progress.adopted().stdString() );
   return text;
}

// All that is told.
struct StatusView {
   std::string position;
   std::string absent;
   Vor::Ptr<AgentStatus> agent;   // empty where none is told of
   std::string told;              // of time synchronisation, as the machines are told; empty where nothing is
   std::string mode;
   std::vector<ChipView> chips;
   U64 nowMs = 0;

   std::string source() const { return agent ? agent->timeSyncSource().stdString() : ""; }
   std::string heldBack() const { return agent ? agent->heldBack().stdString() : ""; }
   bool ready() const { return absent.empty() && !chips.empty() && std::ranges::all_of( chips, &well ); }
};

Json statusJson( StatusView const & view ) {
   Json json{ { "ready", view.ready() }, { "position", view.position } };
   json["absent"] = view.absent;
   if ( view.agent )
      json["agent"] = {
         { "role", view.agent->role().stdString() },
         { "generation", view.agent->generation() },
         { "process", view.agent->process() },
         { "card", view.agent->card().stdString() },
         { "activity", view.agent->activity().stdString() },
         { "socket", view.agent->socket().stdString() } };
   json["timeSync"] = { { "told", view.told }, { "source", view.source() }, { "heldBack", view.heldBack() } };
   json["redundancyMode"] = view.mode;
   json["chips"] = Json::array();
   for ( ChipView const & chip : view.chips ) json["chips"].push_back( chipJson( chip, view.nowMs ) );
   return json;
}

std::string statusText( StatusView const & view, Style const & style ) {
   std::string text;
   if ( !view.absent.empty() ) text += style.bad( view.absent ) + "\n";
   if ( auto const & agent = view.agent )
      text += fmt::format(
         "agent      {}, generation {}, process {}{}\n", agent->role().stdString(), agent->generation(),
         agent->process(), agent->activity().empty() ? "" : ": " + agent->activity().stdString() );
   std::string const source = view.source();
   if ( !view.told.empty() )
      text += fmt::format(
         "time sync  {}{}\n", view.told, source.empty() || source == view.told ? "" : ", the source says " + source );
   if ( !view.mode.empty() ) text += "mode       " + view.mode + "\n";
   if ( !view.heldBack().empty() ) text += "held back  " + style.busy( view.heldBack() ) + "\n";
   for ( ChipView const & chip : view.chips ) text += chipText( chip, view.nowMs, style );
   return text;
}

}   // namespace

int status( StateOptions const & options ) {
   StateView const state( options );
   auto const wordOf = []( auto const & entity, auto getter ) {
      return entity ? stringValue( ( *entity.*getter )() ).stdString() : "";
   };
   StatusView view;
   view.position = positionText( state.position() ).stdString();
   view.agent = state.the<AgentStatus>( "/agent" );
   view.absent = absence( view.agent );
   view.told = wordOf( state.the<PtpTimeSync::Status>( "/timeSync" ), &PtpTimeSync::Status::state );
   view.mode = wordOf( state.the<Redundancy::RedundancyStatus>( "/redundancy" ), &Redundancy::RedundancyStatus::mode );
   view.chips = chipsOf( state );
   view.nowMs = wallMs();
   std::cout << ( options.json ? jsonText( statusJson( view ) ) : statusText( view, styleOf( STDOUT_FILENO ) ) );
   return view.ready() ? exitReady : exitNotReady;
}

}   // namespace Host
