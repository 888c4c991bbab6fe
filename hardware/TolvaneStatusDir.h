// The directory of Tolvane states, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/TolvaneStatus.h"

namespace Hardware::Tolvane {

class StatusDir final : public Vor::DirectoryOf<StatusDir, Status, "tolvane"> {
 public:
   using DirectoryOf::DirectoryOf;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onTolvane( Vor::Name const & ) {}
      virtual void onTolvane() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The status of that name, made if absent. Throws NameInUseException when one of other parameters stands there
   /// (framework/Directory.h).
   Vor::Ptr<Status> tolvaneIs( Vor::Name const & name, Fru::GenerationId genId, Role role ) {
      return memberIs( name, genId, role );
   }
   void tolvaneDel( Vor::Name const & name ) { memberDel( name ); }
   void tolvaneDelAll() { memberDelAll(); }
   /// Tells of the name without changing anything.
   void tolvaneNotify( Vor::Name const & name ) { memberNotify( name ); }
   Vor::Ptr<Status> tolvane( Vor::Name const & name ) const { return member( name ); }
   /// Pairs of name and status, in the map's order.
   Members const & tolvane() const { return members(); }
   std::size_t tolvaneCount() const { return members().count(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &StatusDir::name>,
      Vor::Collection<
         "tolvane", &StatusDir::members, nullptr, &StatusDir::memberDel, NotifieeConst, Vor::Name const &,
         &NotifieeConst::onTolvane, &NotifieeConst::onTolvane>>;
};

Vor::Ptr<StatusDir> statusDirFactory( Vor::Name name );

}   // namespace Hardware::Tolvane
