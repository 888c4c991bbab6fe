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
//    spiShift       an answer arrives `bits` bits late: the last bits that    an answer that arrives so
//                   the chip shifted out before it come first
//    spiLate        an answer arrives in place of the next one; what stands   an answer that arrives so
//                   in place of the first is 0
//    misoStuck      an answer reads as 0x00 (`value` 0) or 0xFF (1)           an answer that arrives so
//    bitFlip        a read of register `address` gives its bits of `mask`     a read of that register
//                   inverted
//    bitStuck       a read of register `address` gives its bits of `mask`     a read of that register
//                   as they are in `value`
//    writeLost      a register write reaches nothing                          a write lost
//    neverLock      the APLLs do not lock; one that is locked stays so        a lock that did not come about
//    loseLock       the APLLs of `mask` lose their lock                       a lock lost
//    flapLock       in each `periodNs` from its beginning on the APLLs of     a period
//                   `mask` can be in lock for the first `lockedNs` alone
//    slowLock       locking takes `extraNs` longer                            a lock delayed
//    chipReset      the chip resets itself as it begins                       that reset
//    resetStuck     the release of the reset line does not reach the chip     a release lost
//    noPower        the Tolvane has no supply: neither bit reads back         a write that would have enabled it
//    hardwareGone   reads of the whole card give 0xFFFFFFFF, writes are lost  a read or write
//
// After a span of neverLock or loseLock the APLLs start locking anew, and so they do at once after a counted loseLock;
// after a counted neverLock they wait for the next register write or reset. After a span of resetStuck the chip
// follows its reset line again, after a counted one from the next pulse on. After noPower the Tolvane is not enabled.
// After a flapLock the APLLs are at once as they would be without it.
//
// An answer is a data byte of a read, from a chip held in reset too. Where several kinds trouble it, they do so in the
// order of the table; several faults of one register's bits do in the order in which they began.
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
   spiShift_,
   spiLate_,
   misoStuck_,
   bitFlip_,
   bitStuck_,
   writeLost_,
   neverLock_,
   loseLock_,
   flapLock_,
   slowLock_,
   chipReset_,
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
   static constexpr U32 allBits = 0xFFFF'FFFF;

   FaultKind kind = FaultKind::spiDead_;
   U16 address = 0;      ///< bitFlip, bitStuck: the chip's register
   U32 mask = allBits;   ///< bitFlip, bitStuck: bits of that register; loseLock, flapLock: APLLs, as register 7's
   U32 value = 0;        ///< bitStuck: how the bits read; misoStuck: 0 or 1
   U32 bits = 1;         ///< spiShift: 1 to 7
   U64 extraNs = 0;      ///< slowLock: by how much locking takes longer
   U64 periodNs = 1;     ///< flapLock: at least 1
   U64 lockedNs = 0;     ///< flapLock: less than the period
   std::optional<U64> forNs = std::nullopt;
   std::optional<U64> count = std::nullopt;
   U64 beganNs = 0;   ///< when it was handed to the card, which sets it
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

   /// Shows all active faults, in the order in which they began: uses up one of the count of each for which `shows`
   /// says true.
   template<class Shows> void occurEach( Shows const & shows ) {
      for ( Active & active : faults_ )
         if ( !active.usedUp() && shows( active.fault ) ) use( active );
   }

   /// What a read of the chip's register gives, where `stored` stands in it: bits may be flipped or stuck.
   U32 asRead( U16 address, U32 stored );

 private:
   struct Active {
      bool isOf( FaultKind kind ) const { return fault.kind == kind && !usedUp(); }
      bool usedUp() const { return fault.count && *fault.count == 0; }

      Fault fault{};
      std::optional<TimedEvent> spanEnd{};
   };
   struct Listener {
      FaultKind kind;
      Moment moment;
      std::function<void()> call;
   };

   void use( Active & active ) {
      if ( active.fault.count ) anyUsedUp_ |= --*active.fault.count == 0;
   }
   void tell( FaultKind kind, Moment moment ) const;

   VirtualClock & clock_;
   std::vector<Listener> listeners_;
   std::list<Active> faults_;   // in the order in which they began
   bool anyUsedUp_ = false;     // of those
};

}   // namespace Sim
