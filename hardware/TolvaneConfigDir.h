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

   /// The configuration of that name, made if absent; `parameters` are the further constructor parameters of its list,
   /// in order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Config> tolvaneIs( Vor::Name const & name, auto const &... parameters ) {
      return memberIs( name, parameters... );
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

inline constexpr auto & configDirFactory = Vor::factoryOf<ConfigDir>;

}   // namespace Hardware::Tolvane
