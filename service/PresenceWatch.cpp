#include "service/PresenceWatch.h"

#include "framework/ActivityManager.h"

#include <linux/netlink.h>
#include <sys/inotify.h>
#include <sys/socket.h>

#include <cerrno>
#include <iterator>

namespace Host {

namespace {

// A card that goes is noticed within a second, also where nothing tells of it.
constexpr double untoldPeriodSeconds = 0.5;
constexpr double toldPeriodSeconds = 30;
constexpr double settleSeconds = 3;

constexpr U32 gone = IN_DELETE_SELF | IN_MOVE_SELF;
// Deleting a file that is still mapped changes the count of its links; the file itself stays until it is unmapped.
constexpr U32 fileEvents = gone | IN_ATTRIB | IN_MODIFY;
constexpr U32 folderEvents = gone | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;
// Of a folder further up only that it goes itself: much may happen in it that has nothing to do with the card.
constexpr U32 outerEvents = gone | IN_ONLYDIR;

bool isDevice( std::filesystem::path const & path ) {
   std::error_code ignored;
   std::string const real = std::filesystem::weakly_canonical( path, ignored ).string();
   return real.starts_with( "/dev/" ) || real.starts_with( "/sys/" );
}

int deviceEvents() {
   constexpr U32 fromKernel = 1;   // the multicast group; udev repeats the events in another
   int const fd = ::socket( AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT );
   sockaddr_nl address{};
   address.nl_family = AF_NETLINK;
   address.nl_groups = fromKernel;
   void const * const general = &address;
   if ( fd >= 0 && ::bind( fd, static_cast<sockaddr const *>( general ), sizeof address ) == 0 ) return fd;
   if ( fd >= 0 ) ::close( fd );
   return -1;
}

// What is told does not matter: each event is a reason to look. A lost one (ENOBUFS) is as good as any other.
void drain( int fd ) {
   char events[4096];
   while ( ::read( fd, events, sizeof events ) >= 0 || errno == ENOBUFS ) {
   }
}

}   // namespace

PresenceWatch::PresenceWatch( std::string const & path, PollSet & pollSet )
   : path_( std::filesystem::absolute( path ) ),
     device_( isDevice( path_ ) ),
     files_( ::inotify_init1( IN_CLOEXEC | IN_NONBLOCK ) ),
     devices_( device_ ? deviceEvents() : -1 ) {
   if ( files_.fd() >= 0 ) pollSet.descriptorAdd( files_.fd(), [this] { drain( files_.fd() ); } );
   if ( devices_.fd() >= 0 )
      pollSet.descriptorAdd( devices_.fd(), [this] {
         drain( devices_.fd() );
         settledAt_ = Vor::activityManager().config().clock()->now() + settleSeconds;
      } );
}

void PresenceWatch::arm() {
   for ( int const watch : watches_ ) ::inotify_rm_watch( files_.fd(), watch );
   watches_.clear();
   complete_ = !device_ || devices_.fd() >= 0;
   // From the root down: where a step is missing, the folder before it tells when it comes.
   std::filesystem::path outer;
   std::filesystem::path place;
   for ( auto step = path_.begin(); step != path_.end(); ++step ) {
      if ( *step == "." ) continue;   // the same folder again, whose events would be taken for an outer one's
      place /= *step;
      bool const file = std::next( step ) == path_.end();
      if ( !add( place, file ? fileEvents : folderEvents ) ) break;
      if ( !file && !outer.empty() ) add( outer, outerEvents );
      outer = place;
   }
   // Told is the end of a watch, too, and what a folder further up had before it was watched for less. Whoever arms
   // looks next, and sees what else there was.
   drain( files_.fd() );
}

bool PresenceWatch::add( std::filesystem::path const & place, U32 events ) {
   int const watch = ::inotify_add_watch( files_.fd(), place.c_str(), events );
   if ( watch >= 0 )
      watches_.push_back( watch );
   else if ( errno != ENOENT && errno != ENOTDIR )
      complete_ = false;
   return watch >= 0;
}

double PresenceWatch::longestWait() const {
   bool const settled = Vor::activityManager().config().clock()->now() >= settledAt_;
   return complete_ && settled ? toldPeriodSeconds : untoldPeriodSeconds;
}

}   // namespace Host
