#include "hardware/HwTolvane.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware::Tolvane {

Vor::Type const & Config::staticType() { return Vor::entityType<Config, "Hardware::Tolvane::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::entityType<ConfigDir, "Hardware::Tolvane::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::entityType<Status, "Hardware::Tolvane::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::entityType<StatusDir, "Hardware::Tolvane::StatusDir">(); }

void registerHwTolvane( Vor::Module & module ) {
   module.typeNodeIs( Status::staticType() );
   module.typeNodeIs( enumType( State{} ) );
   module.typeNodeIs( StatusDir::staticType() );
   module.typeNodeIs( ConfigDir::staticType() );
   module.typeNodeIs( enumType( Role{} ) );
   module.typeNodeIs( Config::staticType() );
}

}   // namespace Hardware::Tolvane
