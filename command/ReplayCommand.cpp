#include "command/ReplayCommand.h"

#include "command/WaveCommand.h"
#include "recording/LogFile.h"
#include "recording/Replay.h"
#include "report/TracesOn.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

// As much of a line as fits, from a little before the place where it is another one.
std::string shown( std::string const & line, std::size_t differsAt ) {
   constexpr std::size_t longest = 80;
   if ( line.size() <= longest ) return line;
   std::size_t const begin = differsAt < longest / 2 ? 0 : std::min( differsAt - longest / 2, line.size() - longest );
   return fmt::format(
      "{}{}{}", begin ? "... " : "", line.substr( begin, longest ), begin + longest < line.size() ? " ..." : "" );
}

void tell( std::ostream & out, std::string const & file, Recording::Difference const & difference ) {
   auto const & [line, recorded, now, during] = difference;
   auto const at = static_cast<std::size_t>( std::ranges::mismatch( recorded, now ).in1 - recorded.begin() );
   out << fmt::format( "{}:{}: differs{}\n", file, line, during.empty() ? "" : ", in " + during );
   out << "   log   " << ( recorded.empty() ? "has ended" : shown( recorded, at ) ) << '\n';
   out << "   now   " << ( now.empty() ? "nothing more" : shown( now, at ) ) << '\n';
   if ( line == 2 ) out << "   A log that has lost its first lines cannot be replayed.\n";
}

}   // namespace

int replay( ReplayOptions const & options ) {
   bool const toOutput = options.events == Recording::LogFile::standardOutput;
   bool const traces = Recording::hasTraces( options.file );
   std::optional<Recording::LogFile> events;
   if ( options.events )
      events.emplace( outOf( { options.file, *options.events }, "" ), Recording::EventLog::largePiece );
   std::ostream nowhere( nullptr );
   TracesOn const tracesOn( traces ? Vor::traceLevels : 0 );
   Recording::Replayed const replayed = Recording::replay( options.file, events ? events->out() : nowhere );
   if ( events ) events->finish();
   std::ostream & out = toOutput ? std::cerr : std::cout;
   if ( replayed.difference ) tell( out, options.file, *replayed.difference );
   out << fmt::format( "{}: replayed alike up to line {}", options.file, replayed.lines );
   out << ( replayed.cutOff.empty() ? replayed.difference ? "\n" : ", its last\n" : ":\n" + replayed.cutOff + "\n" );
   return replayed.difference ? exitNotReady : exitReady;
}

}   // namespace Host
