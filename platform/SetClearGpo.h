// An output realised as one bit of a register: active and inactive are a read-modify-write of that bit through a
// hardware-access handle.
//
//    Vor::Ptr<Hardware::SetClearGpo> reset = Hardware::setClearGpoFactory( "ptp0Reset" );
//    reset->hamIs( ham );
//    reset->offsetIs( 0x2000 );   // byte address of the register within the handle's space
//    reset->bitIs( 1 );
//    reset->impl()->doEnable();
//
// While the output has no handle, or the handle no implementation, a change of its level is dropped: nothing could
// carry it out, and simulated bring-ups run on such outputs.
#pragma once

#include "platform/Gpo.h"
#include "platform/Ham.h"

namespace Hardware {

class SetClearGpo : public Vor::EntityOf<SetClearGpo, Fru::Gpo> {
 public:
   explicit SetClearGpo( Vor::Name name );
   ~SetClearGpo() override;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onHam() {}
      virtual void onOffset() {}
      virtual void onBit() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Never empty.
   Vor::Ptr<Fru::GpoImpl> impl() const override { return impl_; }

   Vor::Ptr<Fru::Ham const> ham() const { return ham_; }
   void hamIs( Vor::Ptr<Fru::Ham const> ham ) { attributeIs<"ham">( ham_, std::move( ham ) ); }
   /// Byte address of the register within the handle's space.
   U32 offset() const { return offset_; }
   void offsetIs( U32 offset ) { attributeIs<"offset">( offset_, offset ); }
   /// Bit number, 0 to 31. A number above stops the process when the output is driven.
   U32 bit() const { return bit_; }
   void bitIs( U32 bit ) { attributeIs<"bit">( bit_, bit ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::AttributesThen<
      Fru::Gpo::Attributes, Vor::Changeable<"ham", &SetClearGpo::ham, &SetClearGpo::hamIs, &NotifieeConst::onHam>,
      Vor::Changeable<"offset", &SetClearGpo::offset, &SetClearGpo::offsetIs, &NotifieeConst::onOffset>,
      Vor::Changeable<"bit", &SetClearGpo::bit, &SetClearGpo::bitIs, &NotifieeConst::onBit>>;

 protected:
   /// Carries out every doEnable() and doDisable().
   virtual void drive( bool active ) const { levelIs( active ); }

 private:
   static constexpr char vorSource[] = "SetClearGpo";

   class Impl final : public Fru::GpoImpl {
    public:
      explicit Impl( SetClearGpo const * gpo ) : gpo_( gpo ) {}
      void doEnable() override { drive( true ); }
      void doDisable() override { drive( false ); }
      void gpoDel() { gpo_ = nullptr; }

    private:
      void drive( bool active ) {
         if ( gpo_ ) gpo_->drive( active );
      }
      SetClearGpo const * gpo_;   // until the output goes
   };

   void levelIs( bool active ) const;

   Vor::Ptr<Impl> const impl_;
   Vor::Ptr<Fru::Ham const> ham_;
   U32 offset_ = 0;
   U32 bit_ = 0;
};

inline constexpr auto & setClearGpoFactory = Vor::factoryOf<SetClearGpo>;

}   // namespace Hardware
