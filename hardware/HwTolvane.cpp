#include "hardware/HwTolvane.h"

#include "framework/TypeRegistry.h"

namespace Hardware::Tolvane {

void registerHwTolvane( Vor::Module & module ) {
   module.typeNodeIs( Status::staticType() );
   module.typeNodeIs( enumType( State{} ) );
   module.typeNodeIs( StatusDir::staticType() );
   module.typeNodeIs( ConfigDir::staticType() );
   module.typeNodeIs( enumType( Role{} ) );
   module.typeNodeIs( Config::staticType() );
}

}   // namespace Hardware::Tolvane
