// SIGINT and SIGTERM of the agent. The first asks it to stop: it says what it waits for, and the agent ends when the
// bring-up under way returns. The second ends the process at once, and leaves the reset outputs inactive so that no
// chip is held in reset.
//
// A bring-up blocks the agent's thread in sleeps that are repeated when a signal interrupts them, so everything that
// must happen at once happens in the signal handler, with operations that are allowed there.
//
//    StopSignals signals( ham.ptr(), outputs );
//    pollSet.descriptorAdd( signals.descriptor(), [] {} );
//    while ( !signals.stopAsked() ) { turn(); pollSet.wait( seconds ); }
#pragma once

#include "card/Descriptor.h"
#include "card/MmapHam.h"
#include "input/CardDescription.h"

#include <atomic>
#include <vector>

namespace Host {

class StopSignals {
 public:
   /// `ham` may be null: no output is driven then. It outlives this. One may live at a time.
   StopSignals( MmapHam const * ham, std::vector<Input::GpoDescription> outputs );
   ~StopSignals();
   StopSignals( StopSignals const & ) = delete;
   StopSignals & operator=( StopSignals const & ) = delete;

   bool stopAsked() const { return signals_.load() > 0; }

   /// What the agent is busy with: the chip whose bring-up has the thread, null when none has. The text outlives this.
   void underWayIs( char const * chip ) { underWay_.store( chip ); }

   /// Readable from the first signal on, for whoever waits.
   int descriptor() const { return wakeUp_.fd(); }

 private:
   static void handle( int signal );
   void tell() const;
   void outputsInactive() const;

   MmapHam const * const ham_;
   std::vector<Input::GpoDescription> const outputs_;
   std::atomic<int> signals_{ 0 };
   std::atomic<char const *> underWay_{ nullptr };
   Descriptor const wakeUp_;   // an eventfd
};

}   // namespace Host
