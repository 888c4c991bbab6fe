// Where an agent's metrics are told: a file that is replaced as a whole, or a port of this machine that answers
// GET /metrics. What talks to the outside is a thread of its own, which is handed the text; the loop never waits.
//
//    MetricsPlace place( "/var/lib/node_exporter/clockpath.prom" );    // or ":9469", "127.0.0.1:9469"
//    place.textIs( metrics.text() );
//
// The server serves one client after the other, each for a bounded time and of a bounded request, on the loopback
// alone. A file that cannot be written is told of on standard error, once until it can, and the agent goes on.
#pragma once

#include "card/Descriptor.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

namespace Host {

class MetricsPlace {
 public:
   /// Throws Input::InputError where there can be no such file or server.
   explicit MetricsPlace( std::string const & place );
   /// What was handed over last stands in the file.
   ~MetricsPlace();
   MetricsPlace( MetricsPlace const & ) = delete;
   MetricsPlace & operator=( MetricsPlace const & ) = delete;

   void textIs( std::string text );

   /// The file, or the URL with its port, which the system chose for a port of 0.
   std::string const & told() const { return told_; }

 private:
   void wake() const;
   void run();
   void write( std::string const & text );
   void serve();
   bool waitFor( int fd, short what, double until ) const;
   std::string text() const;

   Descriptor const socket_;   // none for a file
   Descriptor const wake_;
   std::string const told_;
   mutable std::mutex mutex_;
   std::string text_;
   std::atomic<bool> ends_ = false;
   std::string trouble_;   // of the thread: why the file was not written, as it was told last
   std::thread thread_;
};

}   // namespace Host
