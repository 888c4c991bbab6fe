// Entities: named, observable objects whose attributes are declared once, in a list (framework/Attributes.h).
//
//    class Status final : public Vor::EntityOf<Status> {
//     public:
//       explicit Status( Vor::Name name, auto const &... parameters )
//          : EntityOf( std::move( name ) ), stored_( parameters... ) {}
//
//       struct NotifieeConst : NotifieeConstBase {
//          virtual void onState() {}
//       };
//       using Notifiee = NotifieeFor<NotifieeConst>;
//
//       Role role() const { return stored_.get<"role">(); }
//       State state() const { return stored_.get<"state">(); }
//       void stateIs( State state ) { attributeIs<"state">( stored_, state ); }
//
//       static Vor::Type const & staticType();
//       using Attributes = Vor::Attributes<
//          Vor::Fixed<"name", &Status::name>, Vor::Fixed<"role", &Status::role>,
//          Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;
//
//     private:
//       Vor::Stored<Status, Attributes> stored_;
//    };
//    inline constexpr auto & statusFactory = Vor::factoryOf<Status>;   // Ptr<Status> statusFactory( Name, Role )
//
// A constructor parameter is two lines: getter and list entry. A changeable attribute is four: callback, getter, setter
// and list entry. A type may also keep a value in a member of its own, and hands that to attributeIs instead.
//
// A setter compares, stores, tells the generic observers, then the observers of the type. An entity does not own its
// parent; who holds the entity as a member sets the parent, and takes it away before it goes.
#pragma once

#include "framework/Allocate.h"
#include "framework/Enumeration.h"
#include "framework/Notifiee.h"
#include "framework/Text.h"

namespace Vor {

class Entity : public PtrInterface {
 public:
   explicit Entity( Name name );

   Name name() const { return name_; }
   /// The path from the root: the parent's full name, "/", the name.
   String fullName() const;
   /// Which entity of this process it is, counted from 1 as they are made: tells entities of one full name apart, and
   /// is the same in each run that makes the same entities.
   U32 ordinal() const { return ordinal_; }

   Entity * parent() const { return parent_; }
   void parentIs( Entity * parent ) { parent_ = parent; }
   /// The place, in the parent's attribute list, of the collection that holds this entity.
   U32 parentAttrId() const { return parentAttrId_; }
   void parentAttrIdIs( U32 id ) { parentAttrId_ = id; }
   /// The name of that attribute; empty without a parent.
   String parentAttrName() const;

   NotifieeList * notifieeList() const final { return &notifieeList_; }
   NotifieeList & observerList() const { return observerList_; }

   Type const & fwkType() const override { return staticType(); }
   static Type const & staticType();

   /// Observers of any entity; each type's own observer class derives from its base's.
   using NotifieeConst = NotifieeConstOf<Entity>;

   using Attributes = Vor::Attributes<Fixed<"name", &Entity::name>>;

 protected:
   /// Tells the generic observers, of whom there are some; `key` is the changed one of a collection.
   void vorTellObservers( std::size_t attributeIndex, void const * key = nullptr ) const;

 private:
   Name const name_;
   Entity * parent_ = nullptr;
   U32 parentAttrId_ = 0;
   U32 const ordinal_;
   mutable NotifieeList notifieeList_;
   mutable NotifieeList observerList_;
};

/// A new entity that only gives its members a place in the tree of names.
inline constexpr auto & entityFactory = factoryOf<Entity>;

/// The text form of a reference as it stands beside another one: an entity is told apart from another of its full name
/// by its ordinal.
String referenceToStrep( PtrInterface const * object, PtrInterface const * beside );

/// Gets every change of an entity, as it is stored and before the observers of the entity's type are told.
class EntityObserver : public Entity::NotifieeConst {
 public:
   /// `key` is the changed key of a collection, empty for any other attribute.
   virtual void onAttribute( Entity const & entity, Attribute const & attribute, Value const & key ) = 0;

 protected:
   NotifieeList * vorListOf( PtrInterface const & notifier ) const override {
      return &static_cast<Entity const &>( notifier ).observerList();
   }
};

/// Base of an entity type `Self`: its one path of writing and notifying.
template<class Self, class Base = Entity> class EntityOf : public Base {
 public:
   using Base::Base;
   Type const & fwkType() const override { return Self::staticType(); }

   /// The bases of the type's two observer classes.
   using NotifieeConstBase = NotifieeConstOf<Self, typename Base::NotifieeConst>;
   template<class NotifieeConst> using NotifieeFor = NotifieeOf<Self, NotifieeConst>;

 protected:
   /// Compares, stores, tells; an equal value is silent.
   template<Tag tag, class Value> void attributeIs( Value & stored, std::type_identity_t<Value> value ) {
      if ( stored == value ) return;
      stored = std::move( value );
      attributeNotify<tag>();
   }

   template<Tag tag, class List, class Value> void attributeIs( Stored<Self, List> & stored, Value value ) {
      attributeIs<tag>( stored.template get<tag>(), std::move( value ) );
   }

   /// Tells of a change of the attribute.
   template<Tag tag> void attributeNotify() const {
      if ( observed() ) tell<tag>();
   }
   /// Tells of a change of one key of the attribute, which is a collection.
   template<Tag tag, class Key> void attributeNotify( Key const & key ) const {
      using Listed = typename Self::Attributes::template Named<tag>::Key;
      if ( observed() ) tell<tag>( static_cast<Listed const &>( key ) );
   }

   /// Held for the length of a change, so that an observer may drop the last reference. An object without observers may
   /// still be in its constructor, where a Ptr would destroy it; with observers it is held by them, until one of them
   /// lets go.
   Ptr<PtrInterface const> vorHeld() const {
      return this->references() > 0 ? Ptr<PtrInterface const>( this ) : nullptr;
   }

 private:
   bool observed() const { return !this->notifieeList()->empty() || !this->observerList().empty(); }
   template<Tag tag, class... Key> void tell( Key const &... key ) const {
      using List = typename Self::Attributes;
      using Observer = typename Self::NotifieeConst;
      Ptr<PtrInterface const> const held = vorHeld();
      if ( !this->observerList().empty() ) this->vorTellObservers( List::template index<tag>(), &key... );
      this->notifieeList()->doVisit( [&]( NotifieeBase & member ) {
         if ( member.vorIs<Observer>() )
            ( static_cast<Observer &>( member ).*List::template Named<tag>::notify )( key... );
      } );
   }
};

}   // namespace Vor
