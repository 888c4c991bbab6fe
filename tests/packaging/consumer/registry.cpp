// Walks the type registry: linking the library is enough to find its types there, module by module in their fixed
// order.
#include <clockpath/framework/TypeRegistry.h>

#include <iostream>
#include <string>

int main() {
   std::string modules;
   unsigned types = 0;
   for ( Vor::Module const * module : Vor::typeRegistry().modules() ) {
      modules += std::string( module->name() ) + ' ';
      types += static_cast<unsigned>( module->types().size() );
   }
   std::cout << modules << '\n' << types << " types\n";

   bool const inOrder =
      modules == "KivHal Max24305Hal InvTolvane HwTolvane InvMax24305 HwMax24305 TolvaneSm Max24305Sm Utils ";
   bool const found =
      Vor::typeRegistry().type( "Hardware::Max24305::Op" ) && Vor::typeRegistry().type( "Hardware::TolvaneSm" );
   return inOrder && found && types == 30 ? 0 : 1;
}
