// Uses the framework alone, without the library that is built on it.
#include <clockpath/framework/PtrInterface.h>
#include <clockpath/framework/Text.h>
#include <clockpath/framework/TypeRegistry.h>

#include <iostream>

namespace {
class Thing : public Vor::PtrInterface {};
}   // namespace

int main() {
   Vor::Ptr<Thing> const thing = new Thing;
   Vor::Ptr<Thing const> const reader = thing;
   Vor::String const text = Vor::format( "%d references", thing->references() );
   std::cout << text.charPtr() << '\n';
   bool const alone = !Vor::typeRegistry().type( "Hardware::Max24305::Op" );
   return text == "2 references" && alone ? 0 : 1;
}
