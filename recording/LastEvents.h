// A recording that is kept in memory: whole while it is short, then its last events. Of those that were dropped the
// changes of inputs are left, and how many are gone. Accesses that no machine makes are left out: those of an agent
// that looks at its clocks for months would push out all else.
//
//    Recording::LastEvents events;
//    Recording::Recorder const recorder( events, world.events(), world.card() );
//    world.run();
//    std::cout << events.text();
#pragma once

#include "recording/Listener.h"

#include <deque>
#include <string>
#include <vector>

namespace Recording {

class LastEvents final : public Listener {
 public:
   static constexpr std::size_t usualMax = 250'000;   // some ten attempts of a thousand operations

   explicit LastEvents( std::size_t max = usualMax ) : max_( max ) {}

   /// An event log.
   std::string text() const;

   void onRecording( Header const & header ) override { header_ = header; }
   void onEvent( Event const & event ) override;

 private:
   std::size_t const max_;
   Header header_;
   std::vector<Event> inputs_;   // of those that were dropped
   Dropped dropped_;
   std::deque<Event> last_;
   bool aside_ = false;
};

}   // namespace Recording
