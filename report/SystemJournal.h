// The system's journal: entries with fields that can be asked for, `journalctl CHIP=ptp0 PRIORITY=4`, in place of plain
// lines. An entry is one datagram of the journal's own protocol.
//
//    std::optional<std::string> const socket = systemJournalOf( STDOUT_FILENO );
//    if ( socket ) SystemJournal( *socket ).tell( { "ptp0: ready", Priority::info_, "ptp0", "ready" } );
//
// Fields: MESSAGE, PRIORITY, SYSLOG_IDENTIFIER, and CHIP and EVENT where there is one. EVENT has no numbers in it:
// "attempt", not "attempt 2".
#pragma once

#include "card/Descriptor.h"
#include "report/Narrator.h"

#include <optional>
#include <string>

namespace Host {

/// As syslog counts them.
enum class Priority { error_ = 3, warning_ = 4, info_ = 6 };

struct SystemEntry {
   std::string message;
   Priority priority = Priority::info_;
   std::string chip{};
   std::string event{};
};

/// A failed bring-up and the end by an assertion are errors; a card that has gone, or what else is bad, is a warning.
SystemEntry entryOf( JournalLine const & line, bool cardGone );

/// The socket of the journal, where the descriptor leads there, as the service manager says in JOURNAL_STREAM.
std::optional<std::string> systemJournalOf( int descriptor );

class SystemJournal {
 public:
   /// Told there: the socket's path.
   explicit SystemJournal( std::string const & socket );

   /// Whether the journal has taken it.
   bool tell( SystemEntry const & entry ) const;

 private:
   std::string const path_;
   Descriptor const socket_;
};

}   // namespace Host
