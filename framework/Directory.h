// Directories: collections of named entities, each held by its directory and keyed by its name, with the one rule of
// instantiating a member again.
//
// `memberIs` makes a member that is not there: it is told which attribute of the directory holds it, inserted, given
// its parent, and only then notified. For a name in use every constructor parameter is compared with the member's, in
// the order of the constructor: if all are equal the member is returned as it is and nobody is told; the first that
// differs fails with NameInUseException, and nothing has changed.
//
//    class StatusDir final : public Vor::DirectoryOf<StatusDir, Status, "max24305"> {
//     public:
//       Vor::Ptr<Status> max24305Is( Vor::Name const & name, Fru::GenerationId const & genId, Role role ) {
//          return memberIs( name, genId, role );
//       }
//       ...
#pragma once

#include "framework/Allocate.h"
#include "framework/Entity.h"
#include "framework/HashMap.h"
#include "framework/Strep.h"
#include "framework/Wire.h"

namespace Vor {

namespace Detail {

template<class T> String parameterText( T const & value, T const & ) { return valueToStrep( value ); }
template<class T> String parameterText( Ptr<T> const & value, Ptr<T> const & beside ) {
   return referenceToStrep( value.ptr(), beside.ptr() );
}

template<class Parameter, class Member, class Requested>
void requireEqual( Member const & member, Requested const & requested ) {
   using Value = ValueOf<Parameter::get>;
   Value const & current = ( member.*Parameter::get )();
   Value const & wanted = requested;   // perhaps a conversion
   if ( current == wanted ) return;
   throwNameInUseException(
      "Reinstantiating the entity with fullName " + valueToStrep( member.fullName() ) +
      " where constructor parameter attribute '" + String( Parameter::name ) + "' has a different value of " +
      parameterText( wanted, current ) + " than the current value of " + parameterText( current, wanted ) +
      " not allowed" );
}

}   // namespace Detail

/// Compares the constructor parameters of an existing member with those requested, in order; the first difference
/// throws NameInUseException.
template<class Member, class... Requested>
void requireEqualParameters( Member const & member, Requested const &... requested ) {
   [&]<class... Parameter>( Detail::TypeList<Parameter...> ) {
      ( Detail::requireEqual<Parameter>( member, requested ), ... );
   }( ConstructorParameters<Member>{} );
}

/// Base of a directory type `Self` whose collection attribute is `tag`.
template<class Self, class Member, Tag tag> class DirectoryOf : public EntityOf<Self> {
 public:
   using Members = HashMap<Name, Ptr<Member>>;
   using EntityOf<Self>::EntityOf;
   ~DirectoryOf() override {
      for ( auto const & [name, member] : members_ ) member->parentIs( nullptr );
   }

   Members const & members() const { return members_; }
   /// The member of that name, empty where there is none.
   Ptr<Member> member( Name const & name ) const { return members_.value( name ); }

   /// Removes the member if it is there, and tells of its name.
   void memberDel( Name const & name ) {
      Ptr<Member> const removed = members_.valueDel( name );
      if ( !removed ) return;
      removed->parentIs( nullptr );
      this->template attributeNotify<tag>( removed->name() );
   }
   /// Removes every member there is now, in the map's order, telling of each.
   void memberDelAll() {
      Ptr<PtrInterface const> const held = this->vorHeld();
      for ( Name const & name : members_.keys() ) memberDel( name );
   }
   /// Makes the member that a log tells of. Throws LogFormatException, and what making a member throws.
   Ptr<Member> vorMemberIs( WireReader & parameters ) {
      return std::apply(
         [this]( auto const &... values ) { return this->memberIs( values... ); },
         Detail::takeParameters( ConstructorParameters<Member>(), parameters ) );
   }
   /// Tells of the name without changing anything.
   void memberNotify( Name const & name ) const { this->template attributeNotify<tag>( name ); }

 protected:
   template<class... Parameters> Ptr<Member> memberIs( Name const & name, Parameters const &... parameters ) {
      if ( Ptr<Member> existing = member( name ) ) {
         requireEqualParameters( *existing, name, parameters... );
         return existing;
      }
      Ptr<Member> made = allocate<Member>( name, parameters... );
      made->parentAttrIdIs( static_cast<U32>( Self::Attributes::template index<tag>() ) );
      members_.valueIs( name, made );
      made->parentIs( this );
      this->template attributeNotify<tag>( name );
      return made;
   }

 private:
   Members members_;
};

}   // namespace Vor
