// The entities of the Tolvane: configurations, states, and the directories of both, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/TolvaneConfig.h"
#include "hardware/TolvaneStatus.h"

namespace Vor {
class Module;
}

namespace Hardware::Tolvane {

/// What both directories offer.
template<class Self, class Member> class Dir : public Vor::DirectoryOf<Self, Member, "tolvane"> {
   using Base = Vor::DirectoryOf<Self, Member, "tolvane">;

 public:
   using Base::Base;

   struct NotifieeConst : Base::NotifieeConstBase {
      virtual void onTolvane( Vor::Name const & ) {}
      virtual void onTolvane() {}
   };
   using Notifiee = typename Base::template NotifieeFor<NotifieeConst>;

   /// The member of that name, made if absent; `parameters` are the further constructor parameters of its list, in
   /// order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Member> tolvaneIs( Vor::Name const & name, auto const &... parameters ) {
      return this->memberIs( name, parameters... );
   }
   void tolvaneDel( Vor::Name const & name ) { this->memberDel( name ); }
   void tolvaneDelAll() { this->memberDelAll(); }
   /// Tells of the name without changing anything.
   void tolvaneNotify( Vor::Name const & name ) { this->memberNotify( name ); }
   Vor::Ptr<Member> tolvane( Vor::Name const & name ) const { return this->member( name ); }
   /// Pairs of name and member, in the map's order.
   auto const & tolvane() const { return this->members(); }
   std::size_t tolvaneCount() const { return this->members().count(); }

   using MembersAttribute = Vor::Collection<
      "tolvane", &Dir::members, nullptr, &Dir::memberDel, NotifieeConst, Vor::Name const &, &NotifieeConst::onTolvane,
      &NotifieeConst::onTolvane>;
   using Attributes = Vor::Attributes<Vor::Fixed<"name", &Dir::name>, MembersAttribute>;
};

class ConfigDir final : public Dir<ConfigDir, Config> {
 public:
   using Dir::Dir;
   static Vor::Type const & staticType();
};

class StatusDir final : public Dir<StatusDir, Status> {
 public:
   using Dir::Dir;
   static Vor::Type const & staticType();
};

inline constexpr auto & configDirFactory = Vor::factoryOf<ConfigDir>;
inline constexpr auto & statusDirFactory = Vor::factoryOf<StatusDir>;

/// Registers this module's types.
void registerHwTolvane( Vor::Module & module );

}   // namespace Hardware::Tolvane
