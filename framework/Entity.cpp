#include "framework/Entity.h"

#include "framework/Describe.h"

namespace Vor {

namespace {

std::atomic<U32> entitiesMade{ 0 };

}   // namespace

Entity::Entity( Name name ) : name_( std::move( name ) ), ordinal_( ++entitiesMade ) {}

String Entity::fullName() const { return ( parent_ ? parent_->fullName() : String() ) + "/" + name_.string(); }

String Entity::parentAttrName() const {
   return parent_ ? String( parent_->fwkType().attributes()[parentAttrId_].name ) : String();
}

void Entity::vorTellObservers( std::size_t attributeIndex, void const * key ) const {
   Attribute const & attribute = fwkType().attributes()[attributeIndex];
   Value const changed = key ? attribute.keyValue( key ) : Value();
   observerList_.doVisit( [&]( NotifieeBase & member ) {
      static_cast<EntityObserver &>( member ).onAttribute( *this, attribute, changed );
   } );
}

Type const & Entity::staticType() { return typeOf<Entity, "Vor::Entity">(); }

}   // namespace Vor
