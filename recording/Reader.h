// Reads an event log, line by line, so that a log of any length can be read.
//
//    Recording::Reader reader( "events.jsonl" );
//    std::cout << reader.header().card.file << '\n';
//    while ( std::optional<Recording::Event> const event = reader.next() )
//       if ( auto const * state = std::get_if<Recording::State>( &event->what ) )
//          std::cout << event->ns << ' ' << state->entity << ' ' << state->value << '\n';
//    std::cout << reader.cutOff();
//
// A line that is no JSON, lacks a field or has a wrong one, or is longer than any that is written, is an
// Input::InputError, which names file, line, what was expected and what stood there. Fields that are not known are
// passed over; lines of a kind that is not known are too, and are counted. A log in a bundle (recording/Bundle.h) is
// read out of it.
#pragma once

#include "recording/Event.h"

#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Recording {

class Reader {
 public:
   /// In bytes, with its end.
   static constexpr std::size_t longestLine = std::size_t{ 16 } * 1024 * 1024;

   /// Reads the first line.
   explicit Reader( std::string path );

   Header const & header() const { return header_; }
   /// The same, for those who cannot do without the card. Throws Input::InputError for a log that lacks it.
   Header const & cardHeader() const;

   /// Empty at the log's end.
   std::optional<Event> next();

   /// The line of the last event, as it stands in the log, without its end; good until the next is read.
   std::string_view text() const { return text_; }

   /// How many lines were of kinds that are not known; complete at the log's end.
   std::size_t skipped() const { return skipped_; }
   /// Where and why the last line was left out, at the log's end: whoever wrote it was stopped. Empty for a whole log.
   std::string const & cutOff() const { return cutOff_; }

 private:
   std::optional<std::string_view> nextLine();
   [[noreturn]] void failToRead() const;
   std::string place() const { return path_ + ":" + std::to_string( line_ ); }

   std::string const path_;
   std::unique_ptr<std::istream> const file_;
   std::unique_ptr<char[]> const buffer_ = std::make_unique_for_overwrite<char[]>( longestLine );
   std::string_view text_;
   std::size_t line_ = 0;   // the one that was read last, from 1
   Header header_;
   std::size_t skipped_ = 0;
   std::string cutOff_;
};

}   // namespace Recording
