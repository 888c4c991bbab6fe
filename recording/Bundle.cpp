#include "recording/Bundle.h"

#include "input/InputError.h"
#include "input/Limits.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <sstream>

namespace Recording {

namespace {

using Closer = int ( * )( archive * );

void require( bool done, std::string const & path, char const * what, archive * archive ) {
   if ( done ) return;
   char const * const why = archive_error_string( archive );
   throw Input::InputError( path + ": " + what + ( why ? ": " + std::string( why ) : "" ) );
}

// The recording in a bundle, unpacked.
std::string recordingOf( std::string const & path ) {
   std::unique_ptr<archive, Closer> const in( archive_read_new(), archive_read_free );
   archive_read_support_filter_gzip( in.get() );
   archive_read_support_format_tar( in.get() );
   std::vector<char> piece( std::size_t{ 64 } * 1024 );
   bool const opened = archive_read_open_filename( in.get(), path.c_str(), piece.size() ) == ARCHIVE_OK;
   require( opened, path, "the bundle cannot be read", in.get() );
   archive_entry * entry = nullptr;
   do {
      bool const there = archive_read_next_header( in.get(), &entry ) == ARCHIVE_OK;
      require( there, path, "expected a bundle, with a file recording.events; found none", in.get() );
   } while ( archive_entry_pathname( entry ) != std::string_view( recordingInBundle ) );
   std::string recording;
   while ( la_ssize_t const size = archive_read_data( in.get(), piece.data(), piece.size() ) ) {
      require( size > 0, path, "the bundle cannot be read", in.get() );
      recording.append( piece.data(), static_cast<std::size_t>( size ) );
      if ( Input::Limits::unpackedBytes.passedBy( recording.size() ) )
         throw Input::InputError( path + ": expected " + Input::Limits::unpackedBytes.text() + ", found more" );
   }
   return recording;
}

}   // namespace

void writeBundle( std::string const & path, std::vector<NamedText> const & files ) {
   std::unique_ptr<archive, Closer> const out( archive_write_new(), archive_write_free );
   auto const done = [&]( la_ssize_t result ) {
      require( result >= ARCHIVE_OK, path, "the bundle cannot be written", out.get() );
   };
   done( archive_write_add_filter_gzip( out.get() ) );
   done( archive_write_set_format_pax_restricted( out.get() ) );
   done( archive_write_open_filename( out.get(), path.c_str() ) );
   for ( auto const & [name, text] : files ) {
      std::unique_ptr<archive_entry, decltype( &archive_entry_free )> const entry(
         archive_entry_new(), archive_entry_free );
      archive_entry_set_pathname( entry.get(), name.c_str() );
      archive_entry_set_size( entry.get(), static_cast<la_int64_t>( text.size() ) );
      archive_entry_set_filetype( entry.get(), AE_IFREG );
      archive_entry_set_perm( entry.get(), 0644 );
      archive_entry_set_mtime( entry.get(), std::time( nullptr ), 0 );
      done( archive_write_header( out.get(), entry.get() ) );
      done( archive_write_data( out.get(), text.data(), text.size() ) );
   }
   done( archive_write_close( out.get() ) );
}

std::unique_ptr<std::istream> openRecording( std::string const & path ) {
   constexpr int firstOfGzip = 0x1F;   // and of no log
   errno = 0;
   auto file = std::make_unique<std::ifstream>( path, std::ios::binary );
   if ( *file && file->peek() == firstOfGzip ) return std::make_unique<std::istringstream>( recordingOf( path ) );
   return file;
}

}   // namespace Recording
