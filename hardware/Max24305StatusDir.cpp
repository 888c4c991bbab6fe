#include "hardware/Max24305StatusDir.h"

#include "framework/Describe.h"

namespace Hardware::Max24305 {

Vor::Type const & StatusDir::staticType() {
   static constinit auto const type = Vor::describe<StatusDir, &statusDirFactory>( "Hardware::Max24305::StatusDir" );
   return type;
}

Vor::Ptr<StatusDir> statusDirFactory( Vor::Name name ) { return Vor::allocate<StatusDir>( std::move( name ) ); }

}   // namespace Hardware::Max24305
