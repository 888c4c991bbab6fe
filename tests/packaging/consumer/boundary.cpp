// What crosses the libraries' boundary: derives from their classes, catches what they throw, and casts what they make.
#include <clockpath/framework/Reflection.h>
#include <clockpath/framework/TypeRegistry.h>
#include <clockpath/hardware/Max24305ConfigDir.h>
#include <clockpath/hardware/Max24305StatusDir.h>
#include <clockpath/platform/Ham.h>

#include <iostream>

namespace Chip = Hardware::Max24305;

namespace {

int failures = 0;

void check( bool good, char const * what ) {
   if ( good ) return;
   std::cout << "failed: " << what << '\n';
   ++failures;
}

class Registers final : public Fru::HamImpl {
 public:
   using HamImpl::HamImpl;
   void read32( U32, U32 & value ) override { value = 0x24; }
   void write32( U32, U32 ) override {}
};

struct Watcher final : Chip::StatusDir::NotifieeConst {
   explicit Watcher( Vor::Ptr<Chip::StatusDir const> const & dir ) { notifierIs( dir ); }
   void onMax24305( Vor::Name const & name ) override { seen = name.string(); }
   Vor::String seen;
};

template<class Error, class Call> bool throwsError( Call && call ) {
   try {
      call();
   } catch ( Error const & ) {
      return true;
   }
   return false;
}

}   // namespace

int main() {
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "ham" );
   ham->hamImplIs( new Registers( "registers" ) );
   U32 read = 0;
   ham->hamImpl()->read32( 0, read );
   check( read == 0x24, "the library's handle reads through an implementation of ours" );
   Vor::Ptr<Fru::HamImpl> const impl = ham->hamImpl();
   check( dynamic_cast<Registers *>( impl.ptr() ), "what we handed in is cast back to our class" );

   Vor::Ptr<Chip::StatusDir> const dir = Chip::statusDirFactory( "status" );
   Vor::Ptr<Watcher> const watcher = new Watcher( dir );
   Vor::Ptr<Chip::Status> const status = dir->max24305Is( "ptp0", Fru::GenerationId{ 1 }, Chip::timeSync_ );
   check( watcher->seen == "ptp0", "an observer of ours is told" );
   auto const another = [&] { dir->max24305Is( "ptp0", Fru::GenerationId{ 2 }, Chip::timeSync_ ); };
   check( throwsError<Vor::NameInUseException>( another ), "a name in use is caught" );
   check( throwsError<Vor::Exception>( another ), "and by its base" );
   check( throwsError<std::exception>( another ), "and by the standard's" );
   auto const unknown = [&] { Vor::Reflected( status ).get( "colour" ); };
   check( throwsError<Vor::NameNotFoundException>( unknown ), "an error of reflection is caught" );

   Vor::NamedValue const name[] = { { "name", Vor::String( "made" ) } };
   Vor::Ptr<Vor::PtrInterface> const made = Vor::typeRegistry().type( "Hardware::Max24305::StatusDir" )->make( name );
   check( dynamic_cast<Chip::StatusDir *>( made.ptr() ), "what the registry made is cast to its class" );
   check( dynamic_cast<Vor::Entity *>( made.ptr() ), "and to its base" );
   check( !dynamic_cast<Chip::ConfigDir *>( made.ptr() ), "and to no other" );
   return failures;
}
