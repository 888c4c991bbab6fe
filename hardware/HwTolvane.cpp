#include "hardware/HwTolvane.h"

#include "framework/Describe.h"

namespace Hardware::Tolvane {

Vor::Type const & Config::staticType() { return Vor::entityType<Config, "Hardware::Tolvane::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::entityType<ConfigDir, "Hardware::Tolvane::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::entityType<Status, "Hardware::Tolvane::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::entityType<StatusDir, "Hardware::Tolvane::StatusDir">(); }

}   // namespace Hardware::Tolvane
