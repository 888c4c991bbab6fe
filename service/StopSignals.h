// The signals of the agent. The first SIGINT or SIGTERM asks it to stop: it says what it waits for, and the agent ends
// when the bring-up under way returns. The second ends the process at once. Under a service manager the first one is
// enough: what has not ended by itself within a few seconds ends as by a second one, and SIGHUP asks to read the card
// description again. Elsewhere a closed terminal sends SIGHUP, and it stops the agent as SIGTERM does, unless whoever
// started it had it ignored.
//
// Whatever signal ends the process, the reset outputs are left inactive, so that no chip is held in reset. What would
// only suspend it is ignored, since it would also hold what it has: so is a reader of the output that has gone.
//
// A bring-up blocks the agent's thread in sleeps that are repeated when a signal interrupts them, so everything that
// must happen at once happens in the signal handler, with operations that are allowed there.
//
//    StopSignals signals( ham.ptr(), outputs, serviceManager.present() );
//    pollSet.descriptorAdd( signals.descriptor(), [] {} );
//    while ( !signals.stopAsked() ) {
//       if ( signals.reloadTaken() ) reload();
//       turn();
//       pollSet.wait( seconds );
//    }
#pragma once

#include "card/Descriptor.h"
#include "card/MmapHam.h"
#include "input/CardDescription.h"

#include <atomic>
#include <list>
#include <vector>

namespace Host {

class StopSignals {
 public:
   using Outputs = std::vector<Input::GpoDescription>;

   /// How long a bring-up may go on after a service manager's first signal.
   static constexpr unsigned stopSeconds = 10;

   /// `ham` may be null: no output is driven then. It outlives this. One may live at a time.
   StopSignals( MmapHam const * ham, Outputs outputs, bool managed = false );
   ~StopSignals();
   StopSignals( StopSignals const & ) = delete;
   StopSignals & operator=( StopSignals const & ) = delete;

   bool stopAsked() const { return signals_.load() > 0; }
   /// Whether the description is to be read again; true once for what was asked until now.
   bool reloadTaken();

   /// What the agent is busy with: the chip whose bring-up has the thread, null when none has. The text outlives this.
   void underWayIs( char const * chip ) { underWay_.store( chip ); }
   /// The reset outputs of the card's chips are these from now on.
   void outputsAre( Outputs outputs );

   /// Readable while something was asked, for whoever waits.
   int descriptor() const { return wakeUp_.fd(); }

 private:
   static void handleStop( int signal );
   static void handleReload( int signal );
   static void handleEnd( int signal );
   void wake() const;
   void tell() const;
   void outputsInactive() const;

   MmapHam const * const ham_;
   std::list<Outputs> outputLists_;   // those of before too: a handler may be reading them
   std::atomic<Outputs const *> outputs_;
   bool const managed_;
   std::atomic<int> signals_{ 0 };
   std::atomic<bool> reload_{ false };
   std::atomic<char const *> underWay_{ nullptr };
   Descriptor const wakeUp_;    // an eventfd
   std::vector<int> handled_;   // which have their usual effect again when this goes
};

}   // namespace Host
