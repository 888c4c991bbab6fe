// A list in which two attributes have one name.
#include "framework/Entity.h"

class Switch final : public Vor::EntityOf<Switch> {
 public:
   using EntityOf::EntityOf;
   struct NotifieeConst : NotifieeConstBase {
      virtual void onClosed() {}
      virtual void onLocked() {}
   };

   bool closed() const { return stored_.get<"closed">(); }
   void closedIs( bool closed ) { attributeIs<"closed">( stored_, closed ); }
   bool locked() const { return locked_; }
   void lockedIs( bool locked ) { locked_ = locked; }

#ifdef FORBIDDEN
   static constexpr char second[] = "closed";
#else
   static constexpr char second[] = "locked";
#endif

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Switch::name>,
      Vor::Changeable<"closed", &Switch::closed, &Switch::closedIs, &NotifieeConst::onClosed>,
      Vor::Plain<second, &Switch::locked, &Switch::lockedIs>>;

 private:
   Vor::Stored<Switch, Attributes> stored_;
   bool locked_ = false;
};
