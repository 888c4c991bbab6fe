// Switches the traces of all facilities on, up to a level, as long as it lives: while someone listens to them.
#pragma once

#include "framework/Trace.h"

#include <vector>

namespace Host {

class TracesOn {
 public:
   /// Levels 0 to one less than `levels`.
   explicit TracesOn( U32 levels ) : facilities_( Vor::traceFacilities() ), levels_( levels ) { switchAll( true ); }
   // What could be switched on can be switched off.
   ~TracesOn() { switchAll( false ); }   // NOLINT(bugprone-exception-escape)
   TracesOn( TracesOn const & ) = delete;
   TracesOn & operator=( TracesOn const & ) = delete;

 private:
   void switchAll( bool on ) const {
      for ( Vor::String const & facility : facilities_ )
         for ( U32 level = 0; level < levels_; ++level ) Vor::traceLevelIs( facility, level, on );
   }

   std::vector<Vor::String> const facilities_;
   U32 const levels_;
};

}   // namespace Host
