// Faults of the simulated hardware: their kinds, and which of them trouble one chip at present.
//
// A fault begins when it is handed to the card, and lasts for a span (`forNs`), for a number of occurrences (`count`),
// or to the end. What an occurrence is depends on the kind:
//
//    kind           what it does                                              one occurrence is
//    spiDead        captured responses are lost                               a response lost
//    spiStuckWrite  the command FIFO does not drain; what stands in it is     a transaction of several words handed to
//                   sent once it moves again                                  the FIFO (a lone closing word is none)
//    spiInvalid     responses stand in the FIFO without their valid bit       such a response
//    spiExtra       each response stands in the FIFO twice                    such a response
//    bitFlip        a read of register `address` gives its bits of `mask`     a read of that register
//                   inverted
//    neverLock      the APLLs do not lock; one that is locked stays so        a lock that did not come about
//    loseLock       the APLLs lose their lock                                 a lock lost
//    slowLock       locking takes `extraNs` longer                            a lock delayed
//    resetStuck     the release of the reset line does not reach the chip     a release lost
//    noPower        the Tolvane has no supply: neither bit reads back         a write that would have enabled it
//    hardwareGone   reads of the whole card give 0xFFFFFFFF, writes are lost  a read or write
//
// After a span of neverLock or loseLock the APLLs start locking anew, and so they do at once after a counted loseLock;
// after a counted neverLock they wait for the next register write or reset. After a span of resetStuck the chip
// follows its reset line again, after a counted one from the next pulse on. After noPower the Tolvane is not enabled.
//
//    Fault flip{ .kind = FaultKind::bitFlip_, .address = 16, .mask = 1, .count = 3 };
#pragma once

#include "framework/Types.h"
#include "sim/VirtualClock.h"

#include <functional>
#include <list>
#include <optional>
#include <string_view>
#include <vector>

namespace Sim {

enum class FaultKind {
   spiDead_,
   spiStuckWrite_,
   spiInvalid_,
   spiExtra_,
   bitFlip_,
   neverLock_,
   loseLock_,
   slowLock_,
   resetStuck_,
   noPower_,
   hardwareGone_,
};

/// What a fault can trouble.
enum class FaultTarget { max24305_, tolvane_, card_ };

/// A kind's text in scenarios, such as "bitFlip".
std::string_view faultKindText( FaultKind kind );
/// All kinds, in the order of the table above.
std::vector<FaultKind> faultKinds();
/// Whether a target of that sort can have a fault of this kind.
bool faultFits( FaultKind kind, FaultTarget target );

struct Fault {
   FaultKind kind = FaultKind::spiDead_;
   U16 address = 0;   ///< bitFlip: the chip's register
   U8 mask = 0;       ///< bitFlip: the bits that read inverted
   U64 extraNs = 0;   ///< slowLock: by how much locking takes longer
   std::optional<U64> forNs = std::nullopt;
   std::optional<U64> count = std::nullopt;
};

/// The faults that trouble one chip, or the card. The models ask it at the moment a fault would show.
class FaultBoard {
 public:
   enum Moment { begins_, spanEnds_ };

   explicit FaultBoard( VirtualClock & clock ) : clock_( clock ) {}
   FaultBoard( FaultBoard const & ) = delete;
   FaultBoard & operator=( FaultBoard const & ) = delete;

   /// Calls the listener whenever a fault of that kind begins, or ends by the end of its span.
   void listenerAdd( FaultKind kind, Moment moment, std::function<void()> listener );

   /// The fault begins now.
   void faultBegin( Fault const & fault );

   /// Whether a fault of this kind is active; uses nothing up.
   bool active( FaultKind kind ) const;

   /// A fault of this kind shows now, if one is active: uses up one of its count. Null when none is. The result is
   /// good until the next call of a member.
   Fault const * occurs( FaultKind kind );

   /// As occurs( bitFlip_ ), over all active flips of that register: the bits to invert.
   U8 flippedBits( U16 address );

 private:
   struct Active {
      bool isOf( FaultKind kind ) const { return fault.kind == kind && !usedUp(); }
      bool usedUp() const { return fault.count && *fault.count == 0; }
      void use() {
         if ( fault.count ) --*fault.count;
      }

      Fault fault{};
      std::optional<TimedEvent> spanEnd{};
   };
   struct Listener {
      FaultKind kind;
      Moment moment;
      std::function<void()> call;
   };

   void tell( FaultKind kind, Moment moment ) const;

   VirtualClock & clock_;
   std::vector<Listener> listeners_;
   std::list<Active> faults_;   // in the order in which they began
};

}   // namespace Sim
