// The directory of MAX24305 configurations, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/Max24305Config.h"

namespace Hardware::Max24305 {

class ConfigDir final : public Vor::DirectoryOf<ConfigDir, Config, "max24305"> {
 public:
   using DirectoryOf::DirectoryOf;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onSupported() {}
      virtual void onMax24305( Vor::Name const & ) {}
      virtual void onMax24305() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Whether the card carries chips of this kind at all; the configuring agent says so.
   bool supported() const { return stored_.get<"supported">(); }
   void supportedIs( bool supported ) { attributeIs<"supported">( stored_, supported ); }

   /// The configuration of that name, made if absent; `parameters` are the further constructor parameters of its list,
   /// in order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Config> max24305Is( Vor::Name const & name, auto const &... parameters ) {
      return memberIs( name, parameters... );
   }
   void max24305Del( Vor::Name const & name ) { memberDel( name ); }
   void max24305DelAll() { memberDelAll(); }
   Vor::Ptr<Config> max24305( Vor::Name const & name ) const { return member( name ); }
   /// Pairs of name and configuration, in the map's order.
   Members const & max24305() const { return members(); }
   std::size_t max24305Count() const { return members().count(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &ConfigDir::name>,
      Vor::Changeable<"supported", &ConfigDir::supported, &ConfigDir::supportedIs, &NotifieeConst::onSupported>,
      Vor::Collection<
         "max24305", &ConfigDir::members, nullptr, &ConfigDir::memberDel, NotifieeConst, Vor::Name const &,
         &NotifieeConst::onMax24305, &NotifieeConst::onMax24305>>;

 private:
   Vor::Stored<ConfigDir, Attributes> stored_;
};

inline constexpr auto & configDirFactory = Vor::factoryOf<ConfigDir>;

}   // namespace Hardware::Max24305
