#include "command/BundleCommand.h"

#include "diagnosis/Cause.h"
#include "input/SequenceFile.h"
#include "recording/Bundle.h"
#include "recording/Reader.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <iostream>
#include <iterator>

namespace Host {

namespace {

// What is packed beside the recording.
std::vector<Recording::NamedText> textsOf( Recording::Reader & recording ) {
   Recording::Header const & header = recording.cardHeader();
   std::vector<Recording::NamedText> texts{ { "card.json", header.card.json + "\n" } };
   for ( auto const & chip : header.card.max24305s ) {
      std::string text;
      for ( auto const & op : chip.sequence ) text += Input::shortText( op ) + "\n";
      texts.push_back( { chip.name + ".ops", text } );
   }
   Diagnosis::Story story( header );
   while ( std::optional<Recording::Event> const event = recording.next() ) story.take( *event );
   texts.push_back( { "cause.txt", Diagnosis::causesText( Diagnosis::causesOf( story ), Style( false ) ) } );
   texts.push_back(
      { "versions.txt",
        fmt::format(
           "recorded by clockpath {}, in format {}{}\npacked by clockpath {}\n", header.program, header.version,
           header.began.empty() ? ", in virtual time" : ", from " + header.began, CLOCKPATH_VERSION ) } );
   return texts;
}

}   // namespace

int bundle( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   std::vector<Recording::NamedText> texts = textsOf( recording );
   std::string const out = outOf( options, ".tar.gz" );
   auto const whole = Recording::openRecording( options.file );
   texts.insert( texts.begin(), { Recording::recordingInBundle, { std::istreambuf_iterator( *whole ), {} } } );
   Recording::writeBundle( out, texts );
   std::cout << out << ":";
   for ( auto const & file : texts ) std::cout << ' ' << file.name;
   std::cout << '\n';
   return exitReady;
}

}   // namespace Host
