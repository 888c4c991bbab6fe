#include "hardware/TolvaneConfigDir.h"

#include "framework/Describe.h"

namespace Hardware::Tolvane {

Vor::Type const & ConfigDir::staticType() {
   static constinit auto const type = Vor::describe<ConfigDir, &configDirFactory>( "Hardware::Tolvane::ConfigDir" );
   return type;
}

Vor::Ptr<ConfigDir> configDirFactory( Vor::Name name ) { return Vor::allocate<ConfigDir>( std::move( name ) ); }

}   // namespace Hardware::Tolvane
