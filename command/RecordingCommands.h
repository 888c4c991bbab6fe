// The commands on a recording, an event log or a bundle with one: `clockpath explain`, `journal`, `replay`, `wave`,
// `page` and `bundle`.
#pragma once

#include <string>

namespace Host {

struct RecordingOptions {
   std::string file;          ///< path of the recording, or of a bundle
   std::string out;           ///< path of what is written; empty: as each says
   bool operations = false;   ///< of journal: each operation of each attempt has a line
   bool json = false;         ///< for programs
   bool strict = false;       ///< of explain: a warning counts as a cause
};

// Each gives the exit code. They throw Input::InputError.

/// Names the cause that the recording shows: 1 where one stands.
int explain( RecordingOptions const & options );
/// Tells what the recording has.
int journal( RecordingOptions const & options );
/// Runs the library again, and tells what differs first: 1 where something does. `out` is the event log of that, "-"
/// for standard output; there is none unless told.
int replay( RecordingOptions const & options );
/// Writes the signals as a VCD. Here and below `out` is that of the recording with another ending unless told.
int wave( RecordingOptions const & options );
/// Writes a page for a browser.
int page( RecordingOptions const & options );
/// Packs the recording and what belongs to it into one archive, a bundle anew.
int bundle( RecordingOptions const & options );

}   // namespace Host
