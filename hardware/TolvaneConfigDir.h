// The directory of Tolvane configurations, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/TolvaneConfig.h"

namespace Hardware::Tolvane {

class ConfigDir final : public Vor::DirectoryOf<ConfigDir, Config, "tolvane"> {
 public:
   using DirectoryOf::DirectoryOf;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onTolvane( Vor::Name const & ) {}
      virtual void onTolvane() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The configuration of that name, made if absent. Throws NameInUseException when one of other parameters stands there
   /// (framework/Directory.h).
   Vor::Ptr<Config> tolvaneIs(
      Vor::Name const & name, Fru::GenerationId genId, U32 offset, Vor::Ptr<Fru::Ham> const & ham,
      Vor::Name const & resetGpoName, Role role, Fru::SlotId slotId ) {
      return memberIs( name, genId, offset, ham, resetGpoName, role, slotId );
   }
   void tolvaneDel( Vor::Name const & name ) { memberDel( name ); }
   void tolvaneDelAll() { memberDelAll(); }
   /// Tells of the name without changing anything.
   void tolvaneNotify( Vor::Name const & name ) { memberNotify( name ); }
   Vor::Ptr<Config> tolvane( Vor::Name const & name ) const { return member( name ); }
   /// Pairs of name and configuration, in the map's order.
   Members const & tolvane() const { return members(); }
   std::size_t tolvaneCount() const { return members().count(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &ConfigDir::name>,
      Vor::Collection<
         "tolvane", &ConfigDir::members, nullptr, &ConfigDir::memberDel, NotifieeConst, Vor::Name const &,
         &NotifieeConst::onTolvane, &NotifieeConst::onTolvane>>;
};

Vor::Ptr<ConfigDir> configDirFactory( Vor::Name name );

}   // namespace Hardware::Tolvane
