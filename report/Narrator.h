// Tells a bring-up to people: takes the events of a recording in their order, as they happen or as they are read from a
// log, and gives the lines that are worth showing: gates whose rows change, attempts, why one failed, programming, the
// first lock poll and those that read something new, states and clocks, inputs, logged messages, assertions, traces.
//
//    Host::Narrator narrator( reader.header().card, {}, [&]( Host::JournalLine const & line ) {
//       std::cout << line.ns << ' ' << line.chip << ": " << line.what << ' ' << line.details << '\n';
//    } );
//    while ( std::optional<Recording::Event> const event = reader.next() ) narrator.take( *event );
//    narrator.end();
#pragma once

#include "recording/Event.h"
#include "report/Style.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

struct JournalLine {
   U64 ns = 0;
   std::string chip;      ///< empty for what is the card's
   std::string what;      ///< "attempt 1"
   std::string details;   ///< of any length
   Tone tone = Tone::plain_;
};

/// How a chip stands, by what was told of it.
struct ChipStanding {
   /// When the steps of an attempt were over, as far as it came.
   struct Times {
      std::optional<U64> begunNs;
      std::optional<U64> pulsedNs;
      std::optional<U64> cleanNs;
      std::optional<U64> programmedNs;
      std::optional<U64> endNs;   ///< ready or failed
   };

   std::string name;
   bool isTolvane = false;
   std::size_t operations = 0;   ///< of its sequence
   std::string state = "uninitialized";
   std::string clock = "notReady";
   U32 attempts = 0;    ///< of the present bring-up
   U32 operation = 0;   ///< the last one of the present attempt
   Hardware::Steps::LockPolled poll = {};
   std::optional<U32> frequencyInHz = {};
   Times times = {};   ///< of the last attempt
};

struct NarratorOptions {
   std::optional<U32> traceLevel = {};   ///< traces up to this level; none without
   bool inputs = true;                   ///< changes of what the machines look at
   bool operations = false;              ///< a line for each operation
   bool sumUp = false;                   ///< one line for attempts that fail as the one before did
};

class Narrator {
 public:
   using Take = std::function<void( JournalLine const & line )>;

   Narrator( Input::CardDescription const & card, NarratorOptions options, Take take );
   ~Narrator();
   Narrator( Narrator const & ) = delete;
   Narrator & operator=( Narrator const & ) = delete;

   void take( Recording::Event const & event );
   /// Tells what was kept back until something else would happen.
   void end();

   /// In the card's order, Tolvanes first.
   std::vector<ChipStanding> standing() const;

 private:
   class Chip;
   // Attempts of a chip that follow each other.
   struct Attempts {
      std::string chip;
      U32 first = 0;
      U32 last = 0;
      U64 sinceNs = 0;
      U64 untilNs = 0;
   };

   void line( JournalLine const & line );
   void keptBackTell();

   NarratorOptions const options_;
   Take const take_;
   std::vector<Chip> chips_;
   // Kept back while nothing but attempts that fail alike happens:
   std::optional<Attempts> alike_;
   std::optional<Attempts> underWay_;   // one that may become the next of them
};

}   // namespace Host
