// A setter that names an attribute that its type's list does not have.
#include "framework/Entity.h"

class Switch final : public Vor::EntityOf<Switch> {
 public:
   using EntityOf::EntityOf;
   struct NotifieeConst : NotifieeConstBase {
      virtual void onClosed() {}
   };

   bool closed() const { return closed_; }
   void closedIs( bool closed ) {
#ifdef FORBIDDEN
      attributeIs<"clsoed">( closed_, closed );
#else
      attributeIs<"closed">( closed_, closed );
#endif
   }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Switch::name>,
      Vor::Changeable<"closed", &Switch::closed, &Switch::closedIs, &NotifieeConst::onClosed>>;

 private:
   bool closed_ = false;
};
