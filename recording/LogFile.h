// An event log and the file that it goes to.
//
//    Recording::LogFile file( "events.jsonl", Recording::EventLog::largePiece );
//    Recording::Recorder const recorder( file.log(), world.events(), world.card() );
//    world.run();
//    file.finish();
#pragma once

#include "recording/EventLog.h"

#include <fstream>
#include <string>
#include <vector>

namespace Recording {

/// Throws Input::InputError where what is to be written is one of the inputs, by whatever name.
void requireNoInput( std::string const & path, std::vector<std::string> const & inputs );

class LogFile {
 public:
   static constexpr char standardOutput[] = "-";

   /// Replaces the file. Throws Input::InputError where it cannot be written, or is one of the inputs.
   LogFile( std::string path, std::size_t pieceSize, std::vector<std::string> const & inputs = {} );

   EventLog & log() { return log_; }
   /// The file itself, for lines that are there already.
   std::ostream & out() { return out_; }
   /// Writes what there is. Throws Input::InputError where not all could be written.
   void finish();

 private:
   [[noreturn]] void fail( std::string const & why ) const;

   std::string const path_;
   std::ofstream file_;
   std::ostream & out_;
   EventLog log_;
};

}   // namespace Recording
