#include "hardware/HwMax24305.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware::Max24305 {

Vor::Type const & Config::staticType() { return Vor::typeOf<Config, "Hardware::Max24305::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::typeOf<ConfigDir, "Hardware::Max24305::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "Hardware::Max24305::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::typeOf<StatusDir, "Hardware::Max24305::StatusDir">(); }

void registerHwMax24305( Vor::Module & module ) {
   module.typesAdd<Status, Input, OpType, State, StatusDir, ConfigDir, Role, Op, ProgramSeq, Config>();
}

}   // namespace Hardware::Max24305
