#include "hardware/Max24305ConfigDir.h"

#include "framework/Describe.h"

namespace Hardware::Max24305 {

Vor::Type const & ConfigDir::staticType() {
   static constinit auto const type = Vor::describe<ConfigDir, &configDirFactory>( "Hardware::Max24305::ConfigDir" );
   return type;
}

Vor::Ptr<ConfigDir> configDirFactory( Vor::Name name ) { return Vor::allocate<ConfigDir>( std::move( name ) ); }

}   // namespace Hardware::Max24305
