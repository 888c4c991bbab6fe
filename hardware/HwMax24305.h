// The entities of the MAX24305: configurations, states, and the directories of both, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/Max24305Config.h"
#include "hardware/Max24305Status.h"

namespace Vor {
class Module;
}

namespace Hardware::Max24305 {

/// What both directories offer.
template<class Self, class Member> class Dir : public Vor::DirectoryOf<Self, Member, "max24305"> {
   using Base = Vor::DirectoryOf<Self, Member, "max24305">;

 public:
   using Base::Base;

   struct NotifieeConst : Base::NotifieeConstBase {
      virtual void onMax24305( Vor::Name const & ) {}
      virtual void onMax24305() {}
   };
   using Notifiee = typename Base::template NotifieeFor<NotifieeConst>;

   /// The member of that name, made if absent; `parameters` are the further constructor parameters of its list, in
   /// order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Member> max24305Is( Vor::Name const & name, auto const &... parameters ) {
      return this->memberIs( name, parameters... );
   }
   void max24305Del( Vor::Name const & name ) { this->memberDel( name ); }
   void max24305DelAll() { this->memberDelAll(); }
   Vor::Ptr<Member> max24305( Vor::Name const & name ) const { return this->member( name ); }
   /// Pairs of name and member, in the map's order.
   auto const & max24305() const { return this->members(); }
   std::size_t max24305Count() const { return this->members().count(); }

   using MembersAttribute = Vor::Collection<
      "max24305", &Dir::members, nullptr, &Dir::memberDel, NotifieeConst, Vor::Name const &, &NotifieeConst::onMax24305,
      &NotifieeConst::onMax24305>;
   using Attributes = Vor::Attributes<Vor::Fixed<"name", &Dir::name>, MembersAttribute>;
};

class ConfigDir final : public Dir<ConfigDir, Config> {
 public:
   using Dir::Dir;

   struct NotifieeConst : Dir::NotifieeConst {
      virtual void onSupported() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Whether the card carries chips of this kind at all; the configuring agent says so.
   bool supported() const { return stored_.get<"supported">(); }
   void supportedIs( bool supported ) { attributeIs<"supported">( stored_, supported ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &ConfigDir::name>,
      Vor::Changeable<"supported", &ConfigDir::supported, &ConfigDir::supportedIs, &NotifieeConst::onSupported>,
      MembersAttribute>;

 private:
   Vor::Stored<ConfigDir, Attributes> stored_;
};

class StatusDir final : public Dir<StatusDir, Status> {
 public:
   using Dir::Dir;
   static Vor::Type const & staticType();
};

inline constexpr auto & configDirFactory = Vor::factoryOf<ConfigDir>;
inline constexpr auto & statusDirFactory = Vor::factoryOf<StatusDir>;

/// Registers this module's types.
void registerHwMax24305( Vor::Module & module );

}   // namespace Hardware::Max24305
