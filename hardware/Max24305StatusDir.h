// The directory of MAX24305 states, keyed by the chips' names.
#pragma once

#include "framework/Directory.h"
#include "hardware/Max24305Status.h"

namespace Hardware::Max24305 {

class StatusDir final : public Vor::DirectoryOf<StatusDir, Status, "max24305"> {
 public:
   using DirectoryOf::DirectoryOf;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onMax24305( Vor::Name const & ) {}
      virtual void onMax24305() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The status of that name, made if absent; `parameters` are the further constructor parameters of its list,
   /// in order. Throws NameInUseException when one of others stands there (framework/Directory.h).
   Vor::Ptr<Status> max24305Is( Vor::Name const & name, auto const &... parameters ) {
      return memberIs( name, parameters... );
   }
   void max24305Del( Vor::Name const & name ) { memberDel( name ); }
   void max24305DelAll() { memberDelAll(); }
   Vor::Ptr<Status> max24305( Vor::Name const & name ) const { return member( name ); }
   /// Pairs of name and status, in the map's order.
   Members const & max24305() const { return members(); }
   std::size_t max24305Count() const { return members().count(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &StatusDir::name>,
      Vor::Collection<
         "max24305", &StatusDir::members, nullptr, &StatusDir::memberDel, NotifieeConst, Vor::Name const &,
         &NotifieeConst::onMax24305, &NotifieeConst::onMax24305>>;
};

inline constexpr auto & statusDirFactory = Vor::factoryOf<StatusDir>;

}   // namespace Hardware::Max24305
