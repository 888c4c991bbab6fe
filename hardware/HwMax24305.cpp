#include "hardware/HwMax24305.h"

#include "framework/Describe.h"

namespace Hardware::Max24305 {

Vor::Type const & Config::staticType() { return Vor::typeOf<Config, "Hardware::Max24305::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::typeOf<ConfigDir, "Hardware::Max24305::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "Hardware::Max24305::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::typeOf<StatusDir, "Hardware::Max24305::StatusDir">(); }

}   // namespace Hardware::Max24305
