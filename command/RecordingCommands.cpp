#include "command/RecordingCommands.h"

#include "diagnosis/Cause.h"
#include "diagnosis/Page.h"
#include "diagnosis/Waveform.h"
#include "input/SequenceFile.h"
#include "recording/Bundle.h"
#include "recording/LogFile.h"
#include "recording/Reader.h"
#include "recording/Replay.h"
#include "report/History.h"
#include "report/Report.h"
#include "report/ReportText.h"
#include "report/TracesOn.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace Host {

namespace {

// The path of what is written.
std::string outOf( RecordingOptions const & options, std::string const & ending ) {
   std::filesystem::path const beside = std::filesystem::path( options.file ).replace_extension( ending );
   std::string const out = options.out.empty() ? beside.string() : options.out;
   Recording::requireNoInput( out, { options.file } );
   return out;
}

// `what` stands in the file: "page".
void writeFile( std::string const & path, std::string const & what, auto const & write ) {
   errno = 0;
   std::ofstream out( path, std::ios::binary );
   write( out );
   out.close();
   if ( !out )
      throw Input::InputError( path + ": the " + what + " cannot be written: " + std::strerror( errno ? errno : EIO ) );
   std::cout << path << '\n';
}

std::string recordedBy( Recording::Header const & header, std::string const & format = "" ) {
   return "recorded by clockpath " + header.program + format +
          ( header.began.empty() ? ", in virtual time" : ", from " + header.began );
}

// What a recording shows people.
struct Shown {
   std::string cause;
   std::string page;
};

Shown shownOf( Recording::Reader & recording ) {
   Diagnosis::Story story( recording.header() );
   auto const toStory = [&]( Recording::Event const & event ) { story.take( event ); };
   Input::Json const history = historyOf( recording, toStory );
   std::string const cause = Diagnosis::causesText( Diagnosis::causesOf( story ), Style( false ) );
   return { cause, Diagnosis::page( history, cause ) };
}

// As much of a line as fits, from a little before the place where it is another one.
std::string partOf( std::string const & line, std::size_t differsAt ) {
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
   out << "   log   " << ( recorded.empty() ? "has ended" : partOf( recorded, at ) ) << '\n';
   out << "   now   " << ( now.empty() ? "nothing more" : partOf( now, at ) ) << '\n';
   if ( line == 2 ) out << "   A log that has lost its first lines cannot be replayed.\n";
}

}   // namespace

int explain( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   Diagnosis::Story story( recording.header() );
   while ( std::optional<Recording::Event> const event = recording.next() ) story.take( *event );
   std::vector<Diagnosis::Cause> const causes = Diagnosis::causesOf( story );
   if ( options.json )
      std::cout << jsonText( Diagnosis::causesJson( causes ) );
   else
      std::cout << Diagnosis::causesText( causes, styleOf( STDOUT_FILENO ) );
   if ( !recording.cutOff().empty() ) std::cerr << "clockpath: warning: " << recording.cutOff() << '\n';
   return Diagnosis::stands( causes, options.strict ) ? exitNotReady : exitReady;
}

int journal( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   if ( options.json ) {
      constexpr int onOneLine = -1;
      std::cout << jsonText( historyOf( recording ), onOneLine );
      return exitReady;
   }
   Report report(
      std::cout, styleOf( STDOUT_FILENO ), recording.header().card,
      { .operations = options.operations, .sumUp = !options.operations } );
   report.begin( options.file + ", " + recordedBy( recording.header() ) );
   while ( std::optional<Recording::Event> const event = recording.next() ) report.take( *event );
   report.end();
   if ( recording.skipped() > 0 )
      std::cout << "Lines of kinds that this program does not know: " << recording.skipped() << '\n';
   if ( !recording.cutOff().empty() )
      for ( std::string const & row : wrapped( recording.cutOff(), lineWidth ) ) std::cout << row << '\n';
   return exitReady;
}

int replay( RecordingOptions const & options ) {
   bool const toOutput = options.out == Recording::LogFile::standardOutput;
   bool const traces = Recording::hasTraces( options.file );
   std::optional<Recording::LogFile> events;
   if ( !options.out.empty() ) events.emplace( outOf( options, "" ), Recording::EventLog::largePiece );
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

int wave( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   writeFile(
      outOf( options, ".vcd" ), "waveform", [&]( std::ostream & out ) { Diagnosis::writeWaveform( recording, out ); } );
   if ( !recording.cutOff().empty() ) std::cout << recording.cutOff() << '\n';
   return exitReady;
}

int page( RecordingOptions const & options ) {
   std::string const path = outOf( options, ".html" );
   Recording::Reader recording( options.file );
   std::string const html = shownOf( recording ).page;
   writeFile( path, "page", [&]( std::ostream & out ) { out << html; } );
   return exitReady;
}

int bundle( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   Recording::Header const & header = recording.cardHeader();
   std::string const out = outOf( options, ".tar.gz" );
   auto const whole = Recording::openRecording( options.file );
   std::vector<Recording::NamedText> files{
      { Recording::recordingInBundle, { std::istreambuf_iterator( *whole ), {} } },
      { "card.json", header.card.json + "\n" } };
   for ( auto const & chip : header.card.max24305s ) {
      std::string text;
      for ( auto const & op : chip.sequence ) text += Input::shortText( op ) + "\n";
      files.push_back( { chip.name + ".ops", text } );
   }
   auto const [causeText, html] = shownOf( recording );
   files.push_back( { "cause.txt", causeText } );
   files.push_back( { "page.html", html } );
   std::string const format = fmt::format( ", in format {}", header.version );
   files.push_back(
      { "versions.txt", recordedBy( header, format ) + "\npacked by clockpath " CLOCKPATH_VERSION "\n" } );
   Recording::writeBundle( out, files );
   std::cout << out << ":";
   for ( auto const & file : files ) std::cout << ' ' << file.name;
   std::cout << '\n';
   return exitReady;
}

}   // namespace Host
