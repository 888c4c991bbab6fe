#include "hardware/TolvaneStatusDir.h"

#include "framework/Describe.h"

namespace Hardware::Tolvane {

Vor::Type const & StatusDir::staticType() {
   static constinit auto const type = Vor::describe<StatusDir, &statusDirFactory>( "Hardware::Tolvane::StatusDir" );
   return type;
}

Vor::Ptr<StatusDir> statusDirFactory( Vor::Name name ) { return Vor::allocate<StatusDir>( std::move( name ) ); }

}   // namespace Hardware::Tolvane
