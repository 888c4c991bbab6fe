// The stream behind an event log that is kept in memory: whole while it is short, then its last lines. What was dropped
// leaves the first line, the changes of inputs, and a line of the kind `dropped` that says how many lines are gone.
//
//    Recording::LastLines lines( 16 * 1024 * 1024 );
//    std::ostream out( &lines );
//    Recording::EventLog log( out, 1 );
#pragma once

#include <cstddef>
#include <streambuf>
#include <string>

namespace Recording {

class LastLines final : public std::streambuf {
 public:
   static constexpr std::size_t usualBytesMax = std::size_t{ 16 } * 1024 * 1024;

   /// Between half of so many bytes and all of them are kept.
   explicit LastLines( std::size_t bytesMax = usualBytesMax ) : bytesMax_( bytesMax ) {}

   /// An event log.
   std::string text() const;

 private:
   std::streamsize xsputn( char const * text, std::streamsize size ) override;
   void drop();

   std::size_t const bytesMax_;
   std::string first_;   // the first line, and what stays of those that were dropped
   std::string lines_;   // whole lines
   std::size_t dropped_ = 0;
};

}   // namespace Recording
