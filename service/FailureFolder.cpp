#include "service/FailureFolder.h"

#include "input/InputError.h"

#include <fmt/chrono.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace Host {

namespace fs = std::filesystem;

namespace {

constexpr char firstNameEnding[] = "-first.events";
constexpr char nameEnding[] = ".events";

// The first of each chip stay.
void oldestRemove( fs::path const & folder ) {
   std::vector<fs::directory_entry> others;
   for ( fs::directory_entry const & entry : fs::directory_iterator( folder ) )
      if ( std::string const name = entry.path().filename();
           name.ends_with( nameEnding ) && !name.ends_with( firstNameEnding ) )
         others.push_back( entry );
   std::ranges::sort( others, {}, []( auto const & entry ) { return entry.last_write_time(); } );
   for ( std::size_t at = 0; at + FailureFolder::othersMax < others.size(); ++at ) fs::remove( others[at] );
}

}   // namespace

std::string FailureFolder::usualPath() {
   char const * const state = std::getenv( "STATE_DIRECTORY" );
   return state ? std::string( state ) : ( fs::temp_directory_path() / "clockpath-failures" ).string();
}

std::string FailureFolder::keep( std::string const & chip, std::string const & recording ) const {
   fs::create_directories( path_ );
   fs::path path = fs::path( path_ ) / ( chip + firstNameEnding );
   if ( fs::exists( path ) )
      path = fs::path( path_ ) /
             fmt::format( "{}-{:%Y%m%d-%H%M%S}{}", chip, fmt::localtime( std::time( nullptr ) ), nameEnding );
   std::ofstream file( path, std::ios::binary | std::ios::trunc );
   file << recording << std::flush;
   if ( !file ) throw Input::InputError( path.string() + ": the recording of the failure cannot be written" );
   oldestRemove( path_ );
   return path.string();
}

void FailureFolder::forget() const {
   if ( !fs::exists( path_ ) ) return;
   for ( fs::directory_entry const & entry : fs::directory_iterator( path_ ) )
      if ( entry.path().filename().string().ends_with( firstNameEnding ) ) fs::remove( entry );
}

}   // namespace Host
