// General-purpose outputs, such as the line that holds a chip in reset.
#pragma once

#include "framework/Entity.h"

namespace Fru {

/// Drives an output; what its active level is, the output knows.
class GpoImpl : public Vor::PtrInterface {
 public:
   virtual void doEnable() = 0;    ///< to the active level
   virtual void doDisable() = 0;   ///< to the inactive level
};

/// The electrical level that "active" stands for.
enum ActiveType : U32 { activeHigh_, activeLow_ };
Vor::EnumType const & enumType( ActiveType );
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

/// An output that is one bit of a register.
struct OutputBit {
   U32 bit = 0;   ///< 0 to 31
   ActiveType activeType = activeHigh_;
   bool operator==( OutputBit const & ) const = default;

   constexpr U32 mask() const { return U32{ 1 } << bit; }
   /// Whether the output is active while the register holds `word`.
   constexpr bool active( U32 word ) const { return ( ( word & mask() ) != 0 ) == ( activeType == activeHigh_ ); }
   /// The word that drives the output to that level and leaves the other bits as they are in `word`.
   constexpr U32 driven( U32 word, bool toActive ) const { return active( word ) == toActive ? word : word ^ mask(); }
};

class Gpo : public Vor::EntityOf<Gpo> {
 public:
   explicit Gpo( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onActiveType() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The implementation, or an empty pointer.
   virtual Vor::Ptr<GpoImpl> impl() const = 0;

   ActiveType activeType() const { return activeType_; }
   void activeTypeIs( ActiveType type ) { attributeIs<"activeType">( activeType_, type ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Gpo::name>,
      Vor::Changeable<"activeType", &Gpo::activeType, &Gpo::activeTypeIs, &NotifieeConst::onActiveType>>;

 private:
   ActiveType activeType_ = activeHigh_;
};

}   // namespace Fru
