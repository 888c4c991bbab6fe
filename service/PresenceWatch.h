// Tells the agent's loop when to look for the card's file again, so that an idle agent sleeps.
//
// The kernel tells of a file, and of the folders on the way to it, by inotify: created, deleted, moved, replaced,
// longer, shorter, or with other rights. It tells of a device under /dev or /sys by its device events, since the files
// of sysfs come and go without inotify; such a file may follow its event a little later, as do the rights and links
// that are given to it, so the loop looks several times then.
//
// What the kernel does not tell is found within 30 s: changes made by another machine on a file system of the network,
// a symbolic link further up that leads elsewhere now, or a device where the user namespace is not the system's own.
// Where something on the way cannot be watched at all (the user has no inotify instances left, a folder may not be
// read), the loop looks twice a second.
//
//    PresenceWatch watch( path, pollSet );
//    for ( ;; ) {
//       watch.arm();                                          // before the look, so that no change falls between
//       mmapHam->poll();
//       pollSet.wait( std::min( seconds, watch.longestWait() ) );
//    }
#pragma once

#include "card/Descriptor.h"
#include "framework/Types.h"
#include "service/PollSet.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Host {

class PresenceWatch {
 public:
   /// Adds its descriptors to the set; outlives the set's use.
   PresenceWatch( std::string const & path, PollSet & pollSet );

   /// Watches the way to the file as it is now: any change from now on ends the wait.
   void arm();

   /// After how many seconds the loop looks at the latest, whatever it was told.
   double longestWait() const;

 private:
   bool add( std::filesystem::path const & place, U32 events );

   std::filesystem::path const path_;   // absolute
   bool const device_;
   Descriptor const files_;     // inotify
   Descriptor const devices_;   // the kernel's device events; none for a plain file
   std::vector<int> watches_;
   bool complete_ = false;   // all that must be watched is
   double settledAt_ = 0;    // until then a device may change without telling
};

}   // namespace Host
