// Bundles: a recording and what belongs to it, in one compressed archive (tar, gzip), which is what one attaches to a
// ticket. recording/Reader.h opens the recording in one by itself.
//
//    Recording::writeBundle( "ptp.tar.gz", { { Recording::recordingInBundle, log }, { "card.json", card } } );
#pragma once

#include <istream>
#include <memory>
#include <string>
#include <vector>

namespace Recording {

inline constexpr char recordingInBundle[] = "recording.events";

/// A file in a bundle.
struct NamedText {
   std::string name;
   std::string text;
};

/// Replaces the file. Throws Input::InputError where it cannot be written.
void writeBundle( std::string const & path, std::vector<NamedText> const & files );

/// A recording as it stands: the file, or what a bundle has of it. A stream that failed, with errno, where it cannot be
/// read; throws Input::InputError for an archive that is no bundle.
std::unique_ptr<std::istream> openRecording( std::string const & path );

}   // namespace Recording
