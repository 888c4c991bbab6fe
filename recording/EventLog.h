// The event log: JSON Lines, one event a line, in the order in which things happened.
//
// The first line makes the log self-contained. Every other begins with `ns` and `ev`; the further fields follow in the
// order of recording/Fields.h:
//
//    {"ns":0,"ev":"gpo","name":"ptp0Reset","active":true}
//    {"ns":1310003200,"ev":"spi","chip":"ptp0","bytes":[3,0,48,0],"response":94}
//
// Every line is valid JSON, whatever stands in a text: control characters are escaped (a count streamed as the
// character with code 2 is \u0002), valid UTF-8 stays as it is, and a byte that is no part of valid UTF-8 is written
// as the character of that code (0xE9 is \u00e9).
//
// Lines are gathered and written in pieces; an abort line and flush() write out what there is.
#pragma once

#include "recording/Listener.h"

#include <iosfwd>
#include <string>

namespace Recording {

/// Appends the text as a JSON string, in quotes.
void jsonStringAppend( std::string & out, std::string_view text );

class EventLog final : public Listener {
 public:
   /// Large enough that a run is not bound by it, and small enough to follow a long one in its file.
   static constexpr std::size_t largePiece = std::size_t{ 64 } * 1024;

   /// The stream outlives the log. Its state tells whether all could be written. Lines are gathered until they are a
   /// piece: with 1 each line is written as it ends, and none is lost, whatever ends the process.
   explicit EventLog( std::ostream & out, std::size_t pieceSize = largePiece ) : out_( out ), pieceSize_( pieceSize ) {}
   ~EventLog() override { flush(); }
   EventLog( EventLog const & ) = delete;
   EventLog & operator=( EventLog const & ) = delete;

   void flush();

   void onRecording( Header const & header ) override;
   void onEvent( Event const & event ) override;

 private:
   void lineEnded() {
      if ( pending_.size() >= pieceSize_ ) flush();
   }

   std::ostream & out_;
   std::size_t const pieceSize_;
   std::string pending_;
};

}   // namespace Recording
