// What an event log tells, as values: the first line, and a struct for each further kind of line, with the fields that
// the line has. docs/event-log.md says when each is written; recording/Fields.h names the fields.
#pragma once

#include "framework/Types.h"
#include "input/CardDescription.h"
#include "sm/Steps.h"

#include <array>
#include <string>
#include <variant>
#include <vector>

namespace Recording {

/// The version of the format that is written, and the latest that can be read.
inline constexpr U32 formatVersion = 1;

/// Something outside the chips that their machines look at, named as scenarios name it (docs/scenario.md), and how it
/// stands now.
struct InputChange {
   std::string what;   ///< "gpoHam"
   std::string of;     ///< of which chip or stage; empty where there is but one
   U32 value = 0;      ///< the number, or 1 or 0 of a flag

   friend bool operator==( InputChange const &, InputChange const & ) = default;
};

/// Stands in the start alone: the chip ran before, and has no machine that brings it up.
inline constexpr char adoptedInput[] = "adopted";

/// The first line: all that a reader needs beside the events.
struct Header {
   U32 version = formatVersion;
   std::string program;   ///< the version of the program that wrote it
   std::string began;     ///< wall time, "2026-11-21T17:30:00.123Z"; empty in virtual time
   Input::CardDescription card;
   std::vector<InputChange> start;   ///< as a scenario's `start`, complete
};

struct Write32 {
   U32 address = 0;
   U32 value = 0;
};
struct Read32 {
   U32 address = 0;
   U32 value = 0;
};
struct Gpo {
   std::string name;
   bool active = false;
};
struct Sleep {
   U64 forNs = 0;
};
struct State {
   std::string entity;   ///< full name
   std::string attr;
   std::string value;   ///< the enumerator's text, or the digits of a value that has none
};
struct Trace {
   std::string facility;
   U32 level = 0;
   std::string source;
   std::string function;
   std::string text;
};
struct Log {
   std::string id;
};
struct Spi {
   std::string chip;
   std::array<U8, 4> bytes{};
   U8 response = 0;
};
struct Abort {
   std::string expression;
   std::string source;
   std::string function;
   U32 line = 0;
};
/// Any step but GateEvaluated.
struct Step {
   std::string chip;
   Hardware::Step step;
};
struct Gate {
   std::string chip;
   std::vector<Hardware::GateRow> rows;
};

/// Accesses that no machine makes, such as those of `poke`, stand between the line that begins them and the one that
/// does not.
struct Aside {
   std::string by;   ///< who makes them: "poke"
   bool begins = false;
};

/// Lines that stood here are gone; those of inputs stand in front of it.
struct Dropped {
   U64 lines = 0;
};

using What =
   std::variant<Write32, Read32, Gpo, Sleep, State, Trace, Log, Spi, Abort, Step, Gate, InputChange, Aside, Dropped>;

struct Event {
   U64 ns = 0;
   std::size_t line = 0;   ///< of the file, from 1
   What what;
};

}   // namespace Recording
