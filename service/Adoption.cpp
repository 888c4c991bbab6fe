#include "service/Adoption.h"

#include "card/Ties.h"
#include "diagnosis/Audit.h"
#include "framework/LogWriter.h"
#include "framework/Wire.h"
#include "platform/SimulationVmid.h"

#include <string_view>

namespace Host {

namespace {

// What a log says of an entity, as far as it matters here, in wire form.
struct Told {
   std::string_view parameters;
   std::map<std::string_view, std::string_view> operations;   // by index
   std::string_view state;
};

// By full name; the texts live as long as the batch.
using ToldOf = std::map<std::string, Told, std::less<>>;

ToldOf toldIn( Vor::LogBatch const & batch ) {
   ToldOf told;
   for ( Vor::LogEntry const & entry : batch ) {
      using enum Vor::LogEntry::Kind;
      Told & entity = told[std::string( entry.entity )];
      if ( entry.kind == create ) entity.parameters = entry.value;
      if ( entry.kind == change && entry.attribute == "state" ) entity.state = entry.value;
      if ( entry.kind == change && entry.attribute == "opsToDo" ) entity.operations[entry.key] = entry.value;
   }
   return told;
}

// The configurations of a card as they stand.
class Configured {
 public:
   Configured( Card const & card, ToldOf const & published ) {
      // They refer to the handle by its name, where that is published.
      if ( published.contains( card.ham()->fullName().stdString() ) ) writer_.entityAdd( card.ham() );
      writer_.entityAdd( card.tolvaneConfigDir() );
      writer_.entityAdd( card.max24305ConfigDir() );
      told_ = toldIn( writer_.turn() );
   }

   bool as( ToldOf const & published, Vor::Entity const & config ) const {
      std::string const name = config.fullName().stdString();
      auto const then = published.find( name );
      auto const now = told_.find( name );
      return then != published.end() && now != told_.end() && then->second.parameters == now->second.parameters &&
             then->second.operations == now->second.operations;
   }

 private:
   Vor::LogWriter writer_;
   ToldOf told_;
};

// Why the entity was not published in that state; empty where it was.
template<class Entity, class State>
std::string notPublished( ToldOf const & published, Entity const & entity, State wanted, std::string const & what ) {
   auto const found = published.find( entity.fullName().stdString() );
   if ( found == published.end() || found->second.state.size() != sizeof( U32 ) ) return what + " was not published";
   Vor::EntityOfName const nobody;
   auto const state = static_cast<State>( Vor::WireReader( found->second.state, nobody ).u32() );
   return state == wanted ? "" : what + " was published as " + stringValue( state ).stdString();
}

std::string notWell( Diagnosis::ChipAudit const & audit ) {
   std::optional<Diagnosis::Point> const trouble = audit.trouble();
   return trouble ? textOf( *trouble ) : "";
}

// The first of the reasons that is one.
std::string firstOf( std::initializer_list<std::string> reasons ) {
   for ( std::string const & reason : reasons )
      if ( !reason.empty() ) return reason;
   return "";
}

std::string unless( bool met, std::string const & reason ) { return met ? "" : reason; }

}   // namespace

Adoption::Adoption( Card const & card, Vor::LogBatch const & published, RegisterAccess & access ) : card_( card ) {
   ToldOf const told = toldIn( published );
   Configured const configured( card, told );
   auto const closed = [&]( std::string const & chip ) {
      return firstOf(
         { unless( !published.empty(), "nothing was published" ),
           unless( card.hamImpl()->hardwarePresent(), "the card is not present" ),
           unless(
              Hardware::simulationVmid() || card.resetGpoOf( chip )->ham(), "its reset output cannot be driven" ) } );
   };
   std::string const otherwise = "it was configured otherwise";
   for ( Input::TolvaneDescription const & chip : card.description().tolvanes )
      reasons_[chip.name] = firstOf(
         { closed( chip.name ),
           notPublished( told, *card.tolvaneStatusDir()->tolvane( chip.name ), Hardware::Tolvane::ready_, "it" ),
           unless( configured.as( told, *card.tolvaneConfigDir()->tolvane( chip.name ) ), otherwise ) } );
   for ( Input::Max24305Description const & chip : card.description().max24305s ) {
      Vor::Ptr<Hardware::Max24305::Config> const config = card.max24305ConfigDir()->max24305( chip.name );
      reasons_[chip.name] = firstOf(
         { closed( chip.name ), unless( config->opsToDoValid(), "its sequence is not handed over" ),
           unless( card.timeSync()->state() != PtpTimeSync::disabled_, "time synchronisation is disabled" ),
           notPublished( told, *card.max24305StatusDir()->max24305( chip.name ), Hardware::Max24305::ready_, "it" ),
           notPublished( told, *card.clockStatusOf( chip.name ), Hardware::Kiv::ClockStatus::ready_, "its clock" ),
           unless( configured.as( told, *config ), otherwise ) } );
   }
   together();
   // The hardware of those that are brought up anyway is not looked at.
   for ( Input::TolvaneDescription const & chip : card.description().tolvanes )
      if ( adopted( chip.name ) ) reasons_[chip.name] = notWell( Diagnosis::auditOf( chip, access ) );
   together();
   for ( Input::Max24305Description const & chip : card.description().max24305s )
      if ( adopted( chip.name ) ) {
         access.cleanUp( chip );
         reasons_[chip.name] = notWell( Diagnosis::auditOf( chip, access ) );
      }
   together();
}

// A chip that is brought up takes others along, and these further ones.
void Adoption::together() {
   Input::CardDescription const & card = card_.description();
   auto const tie = [&]( std::string const & chip, std::string const & other ) -> std::string {
      auto const * const fed = card.max24305( chip );
      auto const * const otherFed = card.max24305( other );
      std::string const why = tieOf( card, chip, other );
      if ( !why.empty() || !fed || !otherFed || fed->tolvane.empty() || fed->tolvane != otherFed->tolvane ) return why;
      return "with which it shares the Tolvane " + fed->tolvane;
   };
   auto const chips = card.scenarioChips();
   for ( bool more = true; more; ) {
      more = false;
      for ( Sim::ScenarioChip const & chip : chips )
         for ( Sim::ScenarioChip const & other : chips ) {
            if ( !adopted( chip.name ) || adopted( other.name ) ) continue;
            std::string const why = tie( chip.name, other.name );
            if ( why.empty() ) continue;
            reasons_[chip.name] = other.name + ", " + why + ", is brought up";
            more = true;
         }
   }
}

bool Adoption::adopted( std::string const & chip ) const {
   auto const found = reasons_.find( chip );
   return found != reasons_.end() && found->second.empty();
}

void Adoption::preset() const {
   for ( auto const & [chip, reason] : reasons_ )
      if ( reason.empty() ) card_.adopt( chip );
}

std::set<std::string> Adoption::tolvanes() const {
   std::set<std::string> names;
   for ( Input::TolvaneDescription const & chip : card_.description().tolvanes )
      if ( adopted( chip.name ) ) names.insert( chip.name );
   return names;
}

}   // namespace Host
