#include "command/WaveCommand.h"

#include "diagnosis/Waveform.h"
#include "input/InputError.h"
#include "recording/Reader.h"
#include "service/Exit.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace Host {

std::string outOf( RecordingOptions const & options, std::string const & ending ) {
   auto const & [file, out] = options;
   if ( out.empty() ) return std::filesystem::path( file ).replace_extension( ending );
   if ( out == file ) throw Input::InputError( out + ": is the recording itself; expected another file to write to" );
   return out;
}

int wave( RecordingOptions const & options ) {
   Recording::Reader recording( options.file );
   std::string const path = outOf( options, ".vcd" );
   errno = 0;
   std::ofstream out( path, std::ios::binary );
   Diagnosis::writeWaveform( recording, out );
   out.close();
   if ( !out )
      throw Input::InputError( path + ": the waveform cannot be written: " + std::strerror( errno ? errno : EIO ) );
   std::cout << path << '\n';
   if ( !recording.cutOff().empty() ) std::cout << recording.cutOff() << '\n';
   return exitReady;
}

}   // namespace Host
