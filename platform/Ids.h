// Numbers that identify a hardware generation and a card slot.
#pragma once

#include "framework/Strep.h"

namespace Fru {

/// A number of its own kind; its text form is the decimal number.
template<class Kind> class NumberId {
 public:
   NumberId() = default;
   explicit NumberId( U32 value ) : value_( value ) {}
   NumberId( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end )
      : value_( Vor::deserializeAttr( pos, end, "value" ) ) {}

   U32 value() const { return value_; }
   friend bool operator==( NumberId const &, NumberId const & ) = default;
   friend Vor::String valueToStrep( NumberId const & id ) { return Vor::valueToStrep( id.value_ ); }

 private:
   U32 value_ = 0;
};

/// The generation of a hardware unit: what is configured for one generation is not what stands in the slot after the
/// unit was replaced.
struct GenerationId : NumberId<GenerationId> {
   using NumberId::NumberId;
};
/// A slot of the chassis.
struct SlotId : NumberId<SlotId> {
   using NumberId::NumberId;
};

}   // namespace Fru
