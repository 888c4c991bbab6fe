// Another process of a test: the command, with its output read as it comes.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Host {

class Process {
 public:
   /// Starts the command with these words; its standard input is that file.
   explicit Process( std::vector<std::string> const & words, std::string const & input = "/dev/null" );
   ~Process();
   Process( Process const & ) = delete;
   Process & operator=( Process const & ) = delete;

   /// Waits until the text has come on standard output, that many times; false when that ends without it.
   bool outputHas( std::string const & text, std::size_t times = 1 );
   void signal( int number ) const;
   /// Nobody reads its standard output any more.
   void readerGoes();
   pid_t pid() const { return pid_; }

   /// Waits for the end. The exit code, or minus the signal that ended it.
   int result();
   /// All that came; complete after result().
   std::string const & output() const { return output_; }
   std::string const & errors() const { return errors_; }

 private:
   bool readMore( int & descriptor, std::string & text );

   pid_t pid_ = -1;
   int outputEnd_ = -1;
   int errorsEnd_ = -1;
   std::string output_;
   std::string errors_;
};

struct Ran {
   int result;
   std::string output;
   std::string errors;
};

/// Runs the command to its end.
Ran run( std::vector<std::string> const & words );

}   // namespace Host
