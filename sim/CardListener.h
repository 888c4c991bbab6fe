// What happens while a card is brought up, told as it happens: the event log writes it down, the report shows it.
//
// Each callback is one kind of line of the event log, with the time at which it happened. Callbacks run inside
// the library's own calls, so a listener looks and notes; it changes nothing and does not sleep.
//
//    struct Polls final : Sim::CardListener {
//       int count = 0;
//       void onTrace( U64, Vor::TraceRecord const & record ) override {
//          count += record.function == std::string_view( "doWaitForLock" );
//       }
//    };
#pragma once

#include "framework/Types.h"

#include <array>
#include <string>
#include <string_view>

namespace Vor {
struct AssertionFailure;
struct LogRecord;
struct TraceRecord;
}   // namespace Vor

namespace Sim {

/// A published state as it is stored, before its observers are told.
struct StateChange {
   std::string_view entity;   ///< full name, such as /hardware/max24305/status/ptp0
   std::string_view attr;     ///< the attribute's name
   U32 value = 0;
   std::string_view text;   ///< the enumerator's text, empty where it has none
};

enum class AccessDirection { read_, write_ };

/// "read of 0x4000, where the card has no register: it gives 0"
std::string unclaimedText( U32 address, AccessDirection direction );

class CardListener {
 public:
   virtual ~CardListener() = default;

   virtual void onWrite32( U64 /*ns*/, U32 /*address*/, U32 /*value*/ ) {}
   virtual void onRead32( U64 /*ns*/, U32 /*address*/, U32 /*value*/ ) {}
   virtual void onGpo( U64 /*ns*/, std::string_view /*name*/, bool /*active*/ ) {}
   virtual void onSleep( U64 /*ns*/, U64 /*forNs*/ ) {}
   virtual void onState( U64 /*ns*/, StateChange const & ) {}
   virtual void onTrace( U64 /*ns*/, Vor::TraceRecord const & ) {}
   virtual void onLog( U64 /*ns*/, Vor::LogRecord const & ) {}
   /// A transaction of four bytes as the chip saw them, and what it shifted out during the last.
   virtual void onSpi( U64 /*ns*/, std::string_view /*chip*/, std::array<U8, 4> const & /*bytes*/, U8 /*response*/ ) {}
   /// Accesses are no machine's from here on, but made by that one, until it does not begin.
   virtual void onAside( U64 /*ns*/, std::string_view /*by*/, bool /*begins*/ ) {}
   /// The last one; the process aborts after it.
   virtual void onAbort( U64 /*ns*/, Vor::AssertionFailure const & ) {}

   /// An access where the card has no register: the bus answers it, with 0, and nobody else notices. Each address and
   /// direction is told of once. No line of the event log, which has the access itself.
   virtual void onUnclaimed( U64 /*ns*/, U32 /*address*/, AccessDirection ) {}
   /// The scenario does something to the card or the services around it, now. No line of the event log.
   virtual void onScenario( U64 /*ns*/, std::string_view /*what*/ ) {}
};

}   // namespace Sim
