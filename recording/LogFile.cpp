#include "recording/LogFile.h"

#include "input/InputError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

namespace Recording {

void requireNoInput( std::string const & path, std::vector<std::string> const & inputs ) {
   auto const isIt = [&]( std::string const & input ) {
      std::error_code none;
      return std::filesystem::equivalent( path, input, none );
   };
   auto const found = std::ranges::find_if( inputs, isIt );
   if ( found != inputs.end() )
      throw Input::InputError( path + ": expected another file to write to, found " + *found + ", which is read" );
}

LogFile::LogFile( std::string path, std::size_t pieceSize, std::vector<std::string> const & inputs )
   : path_( std::move( path ) ), out_( path_ == standardOutput ? std::cout : file_ ), log_( out_, pieceSize ) {
   if ( path_ == standardOutput ) return;
   requireNoInput( path_, inputs );
   errno = 0;
   file_.open( path_, std::ios::binary | std::ios::trunc );
   if ( !file_ ) fail( std::string( ": " ) + std::strerror( errno ? errno : EIO ) );
}

void LogFile::finish() {
   log_.flush();
   // What the system said is not kept once a stream has failed.
   if ( !out_ ) fail( " in full; is there room for it?" );
}

void LogFile::fail( std::string const & why ) const {
   throw Input::InputError(
      ( path_ == standardOutput ? "standard output" : path_ ) + ": the event log cannot be written" + why );
}

}   // namespace Recording
