#include "hardware/HwMax24305.h"

#include "framework/TypeRegistry.h"

namespace Hardware::Max24305 {

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
