// What a recording tells of each chip, put in order for those who look for causes: bring-ups with their attempts, what
// each failed at and what the SPI master showed then, lock polls, gates and states with their times.
//
//    Diagnosis::Story story( reader.header() );
//    while ( auto const event = reader.next() ) story.take( *event );
//    for ( Diagnosis::ChipStory const & chip : story.chips() ) std::cout << chip.name << ' ' << chip.state << '\n';
//
// It does not grow with the accesses, and keeps the last bring-ups and losses only: an agent lives for months.
#pragma once

#include "recording/Event.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

/// What came of the last word that was read of the SPI master's response FIFO, or why none was.
enum class Answer {
   byte_,      ///< a byte, which the chip sent, or the wire without it
   none_,      ///< the response FIFO stayed empty
   invalid_,   ///< its entry was never valid
   several_,   ///< it held more than one entry
   notSent_,   ///< the command FIFO kept words to the end
};

/// What the driver read of an SPI master during one operation or poll.
struct SpiSeen {
   std::optional<U32> commandsAtFirst;   ///< in the command FIFO
   U32 commandsLeft = 0;                 ///< there at last
   U32 responsesLeft = 0;                ///< in the response FIFO at last
   bool entryTaken = false;              ///< of the response FIFO
   bool byteTaken = false;               ///< an entry with its valid bit

   Answer answer() const;
};

struct Attempt {
   U64 beganNs = 0;
   std::optional<Hardware::Steps::OperationDone> stoppedAt{};   ///< of a MAX24305: the operation that ended it
   SpiSeen spi{};                                               ///< during that operation
   std::optional<U32> enableWord{};                             ///< of a Tolvane, as read back
   std::optional<U64> failedNs{};
   bool failed() const { return failedNs.has_value(); }
};

struct LockPoll {
   U64 ns = 0;
   U8 status = 0;
   Answer answer = Answer::byte_;
};

struct BringUp {
   std::vector<Attempt> attempts;
   std::optional<U64> programmedNs;   ///< when all operations were done
   std::vector<LockPoll> polls;
   std::optional<U32> frequencyInHz;
   std::optional<U64> readyNs;
   std::optional<U64> failedNs;   ///< given up, in programming or in the wait for lock

   /// How many attempts failed.
   std::size_t failed() const;
   /// The last one that an operation ended; null where none did.
   Attempt const * lastStopped() const;
};

struct GateRow {
   std::string condition;
   std::string value;
   bool met = false;
   U64 sinceNs = 0;   ///< of this value
};

/// A chip's reset output was set after the chip was programmed, for the bring-up of another.
struct ForeignReset {
   std::string by;
   U64 ns = 0;
};

/// What was no longer met: it brought down a chip, or was the card itself.
struct Loss {
   GateRow row;
   std::optional<U64> backNs{};   ///< all is as before; nothing while it lasts
};

struct ChipStory {
   std::string name;
   Input::Max24305Description const * max24305 = nullptr;   ///< null for a Tolvane
   std::string resetOutput{};
   std::vector<GateRow> gate{};   ///< as last evaluated; empty before there is a machine
   std::string state = "uninitialized";
   U64 stateNs = 0;   ///< since when
   std::vector<BringUp> bringUps{};
   std::optional<ForeignReset> foreignReset{};   ///< since it was programmed
   std::vector<Loss> losses{};
   SpiSeen spi{};              ///< since its last step
   bool masterMoved = false;   ///< its SPI master has shown an entry in a FIFO
   bool ready() const { return state == "ready"; }
   BringUp const * last() const { return bringUps.empty() ? nullptr : &bringUps.back(); }
};

class Story {
 public:
   /// `words`: how commands are told which card it is; its description's file unless they say otherwise.
   explicit Story( Recording::Header const & header, std::string const & words = {} );
   Story( Story const & ) = delete;
   Story & operator=( Story const & ) = delete;

   void take( Recording::Event const & event );

   Input::CardDescription const & card() const { return header_.card; }
   std::string const & commandWords() const { return words_; }
   /// Tolvanes first, each in the card's order.
   std::vector<ChipStory> const & chips() const { return chips_; }
   ChipStory const & chip( std::string_view name ) const;
   /// What the clock status of that name says.
   std::string clock( std::string const & status ) const;
   /// When the card was not there.
   std::vector<Loss> const & absences() const { return absences_; }
   /// Since when every read of the card gives 0xFFFFFFFF; empty where the last one did not.
   std::optional<U64> allOnesNs() const { return onesInARow_ > 1 ? allOnesNs_ : std::nullopt; }
   /// The assertion that ended the process, and whose machine was at work then; empty where none was.
   std::optional<Recording::Abort> const & abort() const { return abort_; }
   std::string const & atWork() const { return atWork_; }
   U64 lastNs() const { return lastNs_; }

 private:
   ChipStory & chipOf( std::string_view name );
   void told( Recording::Read32 const & read );
   void told( Recording::Aside const & aside ) { aside_ = aside.begins; }
   void told( Recording::Gpo const & gpo );
   void told( Recording::Step const & step );
   void told( Recording::Gate const & gate );
   void told( Recording::InputChange const & change );
   void told( Recording::State const & state );
   void told( Recording::Abort const & abort ) { abort_ = abort; }
   void told( auto const & ) {}
   template<class OneStep> void stepTold( ChipStory & chip, OneStep const & step );
   void published( ChipStory & chip, Vor::String const & state );

   Recording::Header const header_;
   std::string const words_;
   std::vector<ChipStory> chips_;
   std::map<std::string, std::string> clocks_;
   std::vector<Loss> absences_;
   std::optional<U64> allOnesNs_;
   U32 onesInARow_ = 0;
   std::optional<Recording::Abort> abort_;
   std::string atWork_;
   bool aside_ = false;   // accesses are no machine's
   U64 lastNs_ = 0;
};

}   // namespace Diagnosis
