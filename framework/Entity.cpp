#include "framework/Entity.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Vor {

String Entity::fullName() const { return ( parent_ ? parent_->fullName() : String() ) + "/" + name_.string(); }

String Entity::parentAttrName() const {
   return parent_ ? String( parent_->fwkType().attributes()[parentAttrId_].name ) : String();
}

void Entity::vorTellObservers( std::size_t attributeIndex ) const { vorTellObservers( attributeIndex, Value() ); }

void Entity::vorTellObservers( std::size_t attributeIndex, Value const & key ) const {
   Attribute const & attribute = fwkType().attributes()[attributeIndex];
   observerList_.doVisit(
      [&]( NotifieeBase & member ) { static_cast<EntityObserver &>( member ).onAttribute( *this, attribute, key ); } );
}

Type const & Entity::staticType() {
   static constinit auto const type = describe<Entity, &entityFactory>( "Vor::Entity" );
   return type;
}

Ptr<Entity> entityFactory( Name name ) { return allocate<Entity>( std::move( name ) ); }

}   // namespace Vor
