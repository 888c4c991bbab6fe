// What the library registers as it is loaded: module by module, type by type, in this order.
#pragma once

#include "framework/TypeRegistry.h"

#include <string>
#include <utility>
#include <vector>

namespace Registered {

using Types = std::vector<std::pair<std::string, std::vector<std::string>>>;

inline Types const ofTheLibrary{
   { "KivHal",
     { "Hardware::SpiCtrl", "Hardware::TolvaneEnable", "Hardware::Max24305Status", "Hardware::SpiCommandFifo",
       "Hardware::SpiReset", "Hardware::SpiResponseFifo" } },
   { "Max24305Hal", { "Hardware::ApllStatus" } },
   { "InvTolvane", { "Inventory::Tolvane" } },
   { "HwTolvane",
     { "Hardware::Tolvane::Status", "Hardware::Tolvane::State", "Hardware::Tolvane::StatusDir",
       "Hardware::Tolvane::ConfigDir", "Hardware::Tolvane::Role", "Hardware::Tolvane::Config" } },
   { "InvMax24305", { "Inventory::Max24305" } },
   { "HwMax24305",
     { "Hardware::Max24305::Status", "Hardware::Max24305::Input", "Hardware::Max24305::OpType",
       "Hardware::Max24305::State", "Hardware::Max24305::StatusDir", "Hardware::Max24305::ConfigDir",
       "Hardware::Max24305::Role", "Hardware::Max24305::Op", "Hardware::Max24305::ProgramSeq",
       "Hardware::Max24305::Config" } },
   { "TolvaneSm", { "Hardware::TolvaneSm" } },
   { "Max24305Sm",
     { "Hardware::KivSpiInterface", "Hardware::Max24305WithTolvaneInputSm", "Hardware::Max24305WithStuffedClockInputSm",
       "Hardware::Max24305Sm" } },
   { "Utils", {} } };

/// What stands in the registry of this process.
inline Types types() {
   Types registered;
   for ( Vor::Module const * module : Vor::typeRegistry().modules() ) {
      auto & ofModule = registered.emplace_back( module->name(), std::vector<std::string>() ).second;
      for ( Vor::Type const * type : module->types() ) ofModule.emplace_back( type->name() );
   }
   return registered;
}

}   // namespace Registered
