// An error in what a user wrote: a file, a word of the command. `what()` says where it is, what was expected and what
// stood there; the command prints it and exits with 2.
//
// Who reads a file can go on behind a mistake, and raise all that it found at once:
//
//    Input::Mistakes mistakes;
//    for ( JsonValue const & value : list ) mistakes.gather( [&] { chip( value ); } );
//    mistakes.raise();
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

namespace Input {

class InputError : public std::runtime_error {
 public:
   explicit InputError( std::string const & mistake ) : InputError( std::vector{ mistake } ) {}
   /// At least one; `what()` is the first.
   explicit InputError( std::vector<std::string> const & mistakes )
      : std::runtime_error( mistakes.front() ),
        mistakes_( std::make_shared<std::vector<std::string> const>( mistakes ) ) {}

   std::vector<std::string> const & mistakes() const { return *mistakes_; }

 private:
   std::shared_ptr<std::vector<std::string> const> mistakes_;   // shared, so that a copy cannot fail
};

class Mistakes {
 public:
   static constexpr std::size_t mostTold = 1000;   // whatever is in a file, what is told of it can be read

   /// Takes the step and keeps the mistakes that it raises, those of a file that is read twice once; whether there were
   /// none.
   template<class Step> bool gather( Step const & step ) {
      try {
         step();
         return true;
      } catch ( InputError const & error ) {
         for ( std::string const & mistake : error.mistakes() )
            if ( all_.size() <= mostTold && told_.insert( mistake ).second )
               all_.push_back( all_.size() < mostTold ? mistake : "There are more mistakes; the first are told." );
         return false;
      }
   }
   std::vector<std::string> const & all() const { return all_; }
   /// Throws InputError when there are any.
   void raise() const {
      if ( !all_.empty() ) throw InputError( all_ );
   }

 private:
   std::vector<std::string> all_;
   std::unordered_set<std::string> told_;
};

}   // namespace Input
