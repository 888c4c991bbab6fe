#include "sim/Fault.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Sim {

namespace {

struct KindRow {
   std::string_view text;
   FaultKind kind;
   bool max24305;
   bool tolvane;
   bool card;
};

constexpr KindRow kindRows[] = {
   { "spiDead", FaultKind::spiDead_, true, false, false },
   { "spiStuckWrite", FaultKind::spiStuckWrite_, true, false, false },
   { "spiInvalid", FaultKind::spiInvalid_, true, false, false },
   { "spiExtra", FaultKind::spiExtra_, true, false, false },
   { "bitFlip", FaultKind::bitFlip_, true, false, false },
   { "neverLock", FaultKind::neverLock_, true, false, false },
   { "loseLock", FaultKind::loseLock_, true, false, false },
   { "slowLock", FaultKind::slowLock_, true, false, false },
   { "resetStuck", FaultKind::resetStuck_, true, true, false },
   { "noPower", FaultKind::noPower_, false, true, false },
   { "hardwareGone", FaultKind::hardwareGone_, false, false, true },
};

constexpr bool rowsFollowEnumerators() {
   for ( std::size_t i = 0; i < std::size( kindRows ); ++i ) {
      if ( static_cast<std::size_t>( kindRows[i].kind ) != i ) return false;
   }
   return true;
}
static_assert( rowsFollowEnumerators() );

KindRow const & rowOf( FaultKind kind ) { return kindRows[static_cast<std::size_t>( kind )]; }

}   // namespace

std::string_view faultKindText( FaultKind kind ) { return rowOf( kind ).text; }

std::optional<FaultKind> faultKindOf( std::string_view text ) {
   for ( KindRow const & row : kindRows ) {
      if ( row.text == text ) return row.kind;
   }
   return std::nullopt;
}

std::span<FaultKind const> faultKinds() {
   static constexpr auto kinds = [] {
      std::array<FaultKind, std::size( kindRows )> all{};
      for ( std::size_t i = 0; i < all.size(); ++i ) all[i] = kindRows[i].kind;
      return all;
   }();
   return kinds;
}

bool faultFits( FaultKind kind, FaultTarget target ) {
   switch ( target ) {
   case FaultTarget::max24305_:
      return rowOf( kind ).max24305;
   case FaultTarget::tolvane_:
      return rowOf( kind ).tolvane;
   case FaultTarget::card_:
      return rowOf( kind ).card;
   }
   return false;
}

struct FaultBoard::Active {
   Active( FaultBoard & board, Fault const & fault )
      : board( board ), fault( fault ), spanEnd( board.clock_, *this, &Active::handleSpanEnd ) {
      if ( fault.forNs ) spanEnd.inNsIs( *fault.forNs );
   }

   bool usedUp() const { return fault.count && *fault.count == 0; }
   void handleSpanEnd() { board.handleSpanEnd( *this ); }

   FaultBoard & board;
   Fault fault;
   TimedEventOf<Active> spanEnd;
};

FaultBoard::FaultBoard( VirtualClock & clock ) : clock_( clock ) {}
FaultBoard::~FaultBoard() = default;

void FaultBoard::faultBegin( Fault const & fault ) {
   std::erase_if( faults_, []( auto const & active ) { return active->usedUp(); } );
   faults_.push_back( std::make_unique<Active>( *this, fault ) );
   for ( FaultListener * listener : listeners_ ) listener->onFaultBegin( fault.kind );
}

bool FaultBoard::active( FaultKind kind ) const {
   return std::any_of( faults_.begin(), faults_.end(), [kind]( auto const & active ) {
      return active->fault.kind == kind && !active->usedUp();
   } );
}

Fault const * FaultBoard::occurs( FaultKind kind ) {
   for ( auto const & active : faults_ ) {
      if ( active->fault.kind != kind || active->usedUp() ) continue;
      if ( active->fault.count ) --*active->fault.count;
      return &active->fault;
   }
   return nullptr;
}

U8 FaultBoard::flippedBits( U16 address ) {
   U8 bits = 0;
   for ( auto const & active : faults_ ) {
      Fault & fault = active->fault;
      if ( fault.kind != FaultKind::bitFlip_ || fault.address != address || active->usedUp() ) continue;
      if ( fault.count ) --*fault.count;
      bits ^= fault.mask;
   }
   return bits;
}

void FaultBoard::handleSpanEnd( Active & active ) {
   FaultKind const kind = active.fault.kind;
   std::erase_if( faults_, [&active]( auto const & member ) { return member.get() == &active; } );
   for ( FaultListener * listener : listeners_ ) listener->onFaultEnd( kind );
}

}   // namespace Sim
