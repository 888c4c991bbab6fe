// The access handle of another process's card, as it stands in that one's state (framework/Mirror.h): what it is, and
// whether the card is there. It reaches nothing.
#pragma once

#include "framework/Mirror.h"
#include "platform/Ham.h"

namespace Host {

class MirroredHam final : public Fru::HamImpl {
 public:
   using HamImpl::HamImpl;
   void read32( U32, U32 & value ) override { value = 0xFFFFFFFF; }
   void write32( U32, U32 ) override {}
};

/// The mirror makes such handles, for which there is no factory.
inline void handlesMirrored( Vor::Mirror & mirror ) {
   mirror.makerIs( Fru::HamImpl::staticType().name(), []( Vor::Name const & name ) {
      return Vor::Ptr<Vor::Entity>( new MirroredHam( name ) );
   } );
}

}   // namespace Host
