#include "platform/SetClearGpo.h"

#include "framework/Assert.h"
#include "framework/Describe.h"

namespace Hardware {

SetClearGpo::SetClearGpo( Vor::Name name ) : EntityOf( std::move( name ) ), impl_( new Impl( this ) ) {}

SetClearGpo::~SetClearGpo() { impl_->gpoDel(); }

void SetClearGpo::levelIs( bool active ) const {
   VOR_ASSERT( bit_ < 32 );
   Vor::Ptr<Fru::HamImpl> const hamImpl = ham_ ? ham_->hamImpl() : nullptr;
   if ( !hamImpl ) return;
   U32 value = 0;
   hamImpl->read32( offset_, value );
   hamImpl->write32( offset_, Fru::OutputBit{ bit_, activeType() }.driven( value, active ) );
}

Vor::Type const & SetClearGpo::staticType() { return Vor::typeOf<SetClearGpo, "Hardware::SetClearGpo">(); }

}   // namespace Hardware
