// The state of PTP time synchronisation, as its own agent publishes it. The clock chips' machines know only the
// grouping of the numbers: 0 is off, 1 is being set up, 2 to 4 run on a clock that must be there already.
#pragma once

#include "framework/Entity.h"

namespace PtpTimeSync {

enum OperationalState : U32 { disabled_, enabling_, acquiring_, locked_, holdover_ };

/// Whether time synchronisation runs on a clock that must be there already.
constexpr bool running( OperationalState state ) { return state >= acquiring_ && state <= holdover_; }

Vor::EnumType const & enumType( OperationalState );
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

class Status final : public Vor::EntityOf<Status> {
 public:
   explicit Status( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onState() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Numbers above the enumerators may come, and count as states of their own.
   OperationalState state() const { return stored_.get<"state">(); }
   void stateIs( OperationalState state ) { attributeIs<"state">( stored_, state ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Status::name>,
      Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;

 private:
   Vor::Stored<Status, Attributes> stored_;
};

inline constexpr auto & statusFactory = Vor::factoryOf<Status>;

}   // namespace PtpTimeSync
