// The event log: JSON Lines, one event a line, in the order in which things happened.
//
// The first line makes the log self-contained: recording/Recorder.h writes it, and hands in the kinds of lines that
// come from elsewhere than a CardListener. Every line begins with `ns` and `ev`; the further fields follow in the order
// of the arguments:
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
   /// A gate that was looked at is a kind of line of its own.
   void onStep( U64 ns, std::string_view chip, Hardware::Step const & step ) override;
   void onInput( U64 ns, InputChange const & change ) override;
   void onAside( U64 ns, Aside const & aside ) override;

   void onWrite32( U64 ns, U32 address, U32 value ) override;
   void onRead32( U64 ns, U32 address, U32 value ) override;
   void onGpo( U64 ns, std::string_view name, bool active ) override;
   void onSleep( U64 ns, U64 forNs ) override;
   void onState( U64 ns, Sim::StateChange const & change ) override;
   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, Vor::LogRecord const & record ) override;
   void onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) override;
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) override;

 private:
   class Line;

   Line line( U64 ns, std::string_view event );

   void lineEnded() {
      if ( pending_.size() >= pieceSize_ ) flush();
   }

   std::ostream & out_;
   std::size_t const pieceSize_;
   std::string pending_;
};

}   // namespace Recording
