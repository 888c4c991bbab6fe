#include "Lamp.h"

#include "framework/Describe.h"

namespace Test {

Vor::EnumType const & enumType( Colour ) {
   static constexpr Vor::Enumerator enumerators[] = { { white_, "white" }, { red_, "red" }, { deepBlue_, "deepBlue" } };
   static constinit Vor::EnumType const type( "Test::Colour", enumerators );
   return type;
}

Vor::EnumType const & enumType( Mood ) {
   static constexpr Vor::Enumerator enumerators[] = { { calm_, "calm" }, { merry_, "merry" } };
   static constinit Vor::EnumType const type( "Test::Mood", enumerators, Vor::EnumType::Numbers::open );
   return type;
}

Vor::Type const & Lamp::staticType() { return Vor::typeOf<Lamp, "Test::Lamp", &lampFactory>(); }

Vor::Ptr<Lamp> lampFactory( Vor::Name name, U32 watts, Colour colour, Vor::Ptr<Vor::Entity const> socket ) {
   return Vor::allocate<Lamp>( name, watts, colour, socket );
}

Vor::Type const & DimmedLamp::staticType() { return Vor::typeOf<DimmedLamp, "Test::DimmedLamp", nullptr>(); }

Vor::Type const & LampDir::staticType() { return Vor::typeOf<LampDir, "Test::LampDir", &lampDirFactory>(); }

Vor::Ptr<LampDir> lampDirFactory( Vor::Name name ) { return Vor::allocate<LampDir>( std::move( name ) ); }

}   // namespace Test
