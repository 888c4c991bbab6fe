#include "service/UsualPlaces.h"

#include "card/CardLock.h"
#include "input/InputError.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

namespace Host {

namespace fs = std::filesystem;

namespace {

// The folder that the service manager makes for the service of that description (systemd/clockpath@.service), where
// there can be one; else empty.
std::string serviceFolderOf( Input::CardDescription const & card ) {
   std::error_code none;   // without a file it has no folder either
   fs::path const file = fs::absolute( card.file, none ).lexically_normal();
   if ( file.parent_path() != "/etc/clockpath" || file.extension() != ".json" ) return "";
   return "/run/clockpath/" + file.stem().string();
}

// The best place first. A card that is simulated by who uses it is known by its description, beside which nobody looks
// for what an agent leaves.
std::vector<std::string> foldersOf( Input::CardDescription const & card ) {
   std::vector<std::string> folders = placesBeside( card.place().empty() ? card.file : card.place(), ".agent" );
   if ( card.place().empty() ) folders = { folders.back() };
   if ( std::string const service = serviceFolderOf( card ); !service.empty() )
      folders.insert( folders.begin(), service );
   return folders;
}

fs::path folderOf( Input::CardDescription const & card ) {
   std::vector<std::string> const all = foldersOf( card );
   std::vector<fs::path> const folders( all.begin(), all.end() );
   std::error_code error;
   auto const there = [&]( fs::path const & folder ) { return fs::is_directory( folder, error ); };
   auto const canBe = []( fs::path const & folder ) { return ::access( folder.parent_path().c_str(), W_OK ) == 0; };
   auto found = std::ranges::find_if( folders, there );
   if ( found == folders.end() ) found = std::ranges::find_if( folders, canBe );
   return found == folders.end() ? folders.back() : *found;
}

}   // namespace

std::string usualStatePath( Input::CardDescription const & card ) { return folderOf( card ) / "state.db"; }
std::string usualSocketPath( Input::CardDescription const & card ) { return folderOf( card ) / "socket"; }

void ownFolderMake( std::string const & path ) {
   struct stat found {};
   if ( ( ::mkdir( path.c_str(), 0700 ) != 0 && errno != EEXIST ) || ::lstat( path.c_str(), &found ) != 0 )
      throw Input::InputError( fmt::format( "{}: there can be no such folder: {}", path, std::strerror( errno ) ) );
   constexpr U32 modeMask = 0777;
   if ( !S_ISDIR( found.st_mode ) || found.st_uid != ::geteuid() || ( found.st_mode & modeMask ) != 0700 )
      throw Input::InputError( fmt::format(
         "{}: expected a folder of user {} with mode 0700, found a {} of user {} with mode {:04o}", path, ::geteuid(),
         S_ISDIR( found.st_mode ) ? "folder" : "file", found.st_uid, found.st_mode & modeMask ) );
}

}   // namespace Host
