// Files for tests, in a folder of their own that goes with the test.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace Input {

class Folder {
 public:
   Folder() {
      std::string pattern = ::testing::TempDir() + "clockpathXXXXXX";
      path_ = ::mkdtemp( pattern.data() );
   }
   ~Folder() {
      // A server that was ended leaves a child that takes its own files away meanwhile: what is gone is no mistake.
      std::error_code error;
      do std::filesystem::remove_all( path_, error );
      while ( error == std::errc::no_such_file_or_directory || error == std::errc::directory_not_empty );
      if ( error ) ADD_FAILURE() << path_ << " cannot be removed: " << error.message();
   }
   Folder( Folder const & ) = delete;
   Folder & operator=( Folder const & ) = delete;

   std::string path( std::string const & name ) const { return path_ + "/" + name; }
   /// Writes a file and gives its path.
   std::string file( std::string const & name, std::string const & content ) const {
      std::ofstream( path( name ), std::ios::binary ) << content;
      return path( name );
   }
   std::string content( std::string const & name ) const {
      std::ostringstream text;
      text << std::ifstream( path( name ), std::ios::binary ).rdbuf();
      return text.str();
   }

 private:
   std::string path_;
};

}   // namespace Input
