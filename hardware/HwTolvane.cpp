#include "hardware/HwTolvane.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware::Tolvane {

Vor::Type const & Config::staticType() { return Vor::typeOf<Config, "Hardware::Tolvane::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::typeOf<ConfigDir, "Hardware::Tolvane::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "Hardware::Tolvane::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::typeOf<StatusDir, "Hardware::Tolvane::StatusDir">(); }

void registerHwTolvane( Vor::Module & module ) { module.typesAdd<Status, State, StatusDir, ConfigDir, Role, Config>(); }

}   // namespace Hardware::Tolvane
