#include "hardware/HwMax24305.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware::Max24305 {

Vor::Type const & Config::staticType() { return Vor::entityType<Config, "Hardware::Max24305::Config">(); }
Vor::Type const & ConfigDir::staticType() { return Vor::entityType<ConfigDir, "Hardware::Max24305::ConfigDir">(); }
Vor::Type const & Status::staticType() { return Vor::entityType<Status, "Hardware::Max24305::Status">(); }
Vor::Type const & StatusDir::staticType() { return Vor::entityType<StatusDir, "Hardware::Max24305::StatusDir">(); }

void registerHwMax24305( Vor::Module & module ) {
   module.typeNodeIs( Status::staticType() );
   module.typeNodeIs( enumType( Input{} ) );
   module.typeNodeIs( enumType( OpType{} ) );
   module.typeNodeIs( enumType( State{} ) );
   module.typeNodeIs( StatusDir::staticType() );
   module.typeNodeIs( ConfigDir::staticType() );
   module.typeNodeIs( enumType( Role{} ) );
   module.typeNodeIs( Op::staticType() );
   module.typeNodeIs( enumType( ProgramSeq{} ) );
   module.typeNodeIs( Config::staticType() );
}

}   // namespace Hardware::Max24305
