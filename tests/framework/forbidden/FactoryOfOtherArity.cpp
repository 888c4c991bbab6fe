// A factory whose parameters are not the constructor parameters of the list.
#include "framework/Allocate.h"
#include "framework/Describe.h"
#include "framework/Entity.h"

class Switch final : public Vor::EntityOf<Switch> {
 public:
   Switch( Vor::Name name, U32 poles ) : EntityOf( std::move( name ) ), poles_( poles ) {}
   struct NotifieeConst : NotifieeConstBase {};
   U32 poles() const { return poles_; }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<Vor::Fixed<"name", &Switch::name>, Vor::Fixed<"poles", &Switch::poles>>;

 private:
   U32 const poles_;
};

#ifdef FORBIDDEN
Vor::Ptr<Switch> switchFactory( Vor::Name name ) { return Vor::allocate<Switch>( name, 1u ); }
#else
Vor::Ptr<Switch> switchFactory( Vor::Name name, U32 poles ) { return Vor::allocate<Switch>( name, poles ); }
#endif

Vor::Type const & Switch::staticType() { return Vor::typeOf<Switch, "Switch", &switchFactory>(); }
