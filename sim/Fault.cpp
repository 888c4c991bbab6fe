#include "sim/Fault.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Sim {

namespace {

struct KindRow {
   std::string_view text;
   FaultKind kind;
   bool fits[3];   // by target: MAX24305, Tolvane, card
};

constexpr KindRow kindRows[] = {
   { "spiDead", FaultKind::spiDead_, { true, false, false } },
   { "spiStuckWrite", FaultKind::spiStuckWrite_, { true, false, false } },
   { "spiInvalid", FaultKind::spiInvalid_, { true, false, false } },
   { "spiExtra", FaultKind::spiExtra_, { true, false, false } },
   { "spiShift", FaultKind::spiShift_, { true, false, false } },
   { "spiLate", FaultKind::spiLate_, { true, false, false } },
   { "misoStuck", FaultKind::misoStuck_, { true, false, false } },
   { "bitFlip", FaultKind::bitFlip_, { true, true, false } },
   { "bitStuck", FaultKind::bitStuck_, { true, true, false } },
   { "writeLost", FaultKind::writeLost_, { true, false, false } },
   { "neverLock", FaultKind::neverLock_, { true, false, false } },
   { "loseLock", FaultKind::loseLock_, { true, false, false } },
   { "flapLock", FaultKind::flapLock_, { true, false, false } },
   { "slowLock", FaultKind::slowLock_, { true, false, false } },
   { "chipReset", FaultKind::chipReset_, { true, false, false } },
   { "resetStuck", FaultKind::resetStuck_, { true, true, false } },
   { "noPower", FaultKind::noPower_, { false, true, false } },
   { "hardwareGone", FaultKind::hardwareGone_, { false, false, true } },
};

constexpr bool rowsFollowEnumerators() {
   for ( std::size_t i = 0; i < std::size( kindRows ); ++i )
      if ( static_cast<std::size_t>( kindRows[i].kind ) != i ) return false;
   return std::size( kindRows ) == static_cast<std::size_t>( FaultKind::hardwareGone_ ) + 1;   // the last one
}
static_assert( rowsFollowEnumerators() );

KindRow const & rowOf( FaultKind kind ) { return kindRows[static_cast<std::size_t>( kind )]; }

}   // namespace

std::string_view faultKindText( FaultKind kind ) { return rowOf( kind ).text; }

std::vector<FaultKind> faultKinds() {
   std::vector<FaultKind> kinds;
   for ( KindRow const & row : kindRows ) kinds.push_back( row.kind );
   return kinds;
}

bool faultFits( FaultKind kind, FaultTarget target ) { return rowOf( kind ).fits[static_cast<std::size_t>( target )]; }

void FaultBoard::listenerAdd( FaultKind kind, Moment moment, std::function<void()> listener ) {
   listeners_.push_back( { kind, moment, std::move( listener ) } );
}

void FaultBoard::faultBegin( Fault const & fault ) {
   if ( std::exchange( anyUsedUp_, false ) )
      std::erase_if( faults_, []( Active const & active ) { return active.usedUp(); } );
   auto const begun = faults_.emplace( faults_.end() );
   begun->fault = fault;
   begun->fault.beganNs = clock_.nowNs();
   if ( fault.forNs ) {
      begun->spanEnd.emplace( clock_, [this, begun] {
         FaultKind const kind = begun->fault.kind;
         faults_.erase( begun );
         tell( kind, spanEnds_ );
      } );
      begun->spanEnd->inNsIs( *fault.forNs );
   }
   tell( fault.kind, begins_ );
}

bool FaultBoard::active( FaultKind kind ) const {
   return std::ranges::any_of( faults_, [kind]( Active const & active ) { return active.isOf( kind ); } );
}

Fault const * FaultBoard::occurs( FaultKind kind ) {
   for ( Active & active : faults_ ) {
      if ( !active.isOf( kind ) ) continue;
      use( active );
      return &active.fault;
   }
   return nullptr;
}

U32 FaultBoard::asRead( U16 address, U32 stored ) {
   U32 read = stored;
   occurEach( [&]( Fault const & fault ) {
      bool const flips = fault.kind == FaultKind::bitFlip_;
      if ( fault.address != address || !( flips || fault.kind == FaultKind::bitStuck_ ) ) return false;
      read = flips ? read ^ fault.mask : ( read & ~fault.mask ) | ( fault.value & fault.mask );
      return true;
   } );
   return read;
}

void FaultBoard::tell( FaultKind kind, Moment moment ) const {
   for ( Listener const & listener : listeners_ )
      if ( listener.kind == kind && listener.moment == moment ) listener.call();
}

}   // namespace Sim
