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

   /// The status of that name, made if absent; `parameters` are the further constructor parameters of its list,
   /// in order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Status> tolvaneIs( Vor::Name const & name, auto const &... parameters ) {
      return memberIs( name, parameters... );
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

inline constexpr auto & statusDirFactory = Vor::factoryOf<StatusDir>;

}   // namespace Hardware::Tolvane
