// The recordings of failed bring-ups that an agent keeps, in a folder of their own, bounded in number: the first
// failure of each chip stays until it is forgotten, as it may be the one that tells most; of the others the last few.
//
//    ptp0-first.events    ptp0-20261121-110503.events
#pragma once

#include <string>

namespace Host {

class FailureFolder {
 public:
   static constexpr std::size_t othersMax = 8;

   /// Made where there is none, as something is kept.
   explicit FailureFolder( std::string path ) : path_( std::move( path ) ) {}

   /// Without a choice of the user's: the service manager's state folder, else one beside other temporary files.
   static std::string usualPath();

   /// Gives the path of the file; throws std::filesystem::filesystem_error or Input::InputError where it cannot be
   /// written.
   std::string keep( std::string const & chip, std::string const & recording ) const;

   /// The next failure of each chip is its first.
   void forget() const;

 private:
   std::string const path_;
};

}   // namespace Host
