// An entity made from fewer values than its list has constructor parameters.
#include "framework/Entity.h"

class Switch final : public Vor::EntityOf<Switch> {
 public:
   explicit Switch( Vor::Name name, auto const &... parameters )
      : EntityOf( std::move( name ) ), stored_( parameters... ) {}
   struct NotifieeConst : NotifieeConstBase {};
   U32 poles() const { return stored_.get<"poles">(); }
   U32 amperes() const { return stored_.get<"amperes">(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Switch::name>, Vor::Fixed<"poles", &Switch::poles>, Vor::Fixed<"amperes", &Switch::amperes>>;

 private:
   Vor::Stored<Switch, Attributes> stored_;
};

#ifdef FORBIDDEN
Vor::Ptr<Switch> twoPoles() { return Vor::allocate<Switch>( "switch", 2u ); }
#else
Vor::Ptr<Switch> twoPoles() { return Vor::allocate<Switch>( "switch", 2u, 16u ); }
#endif
