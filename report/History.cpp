#include "report/History.h"

#include "recording/Fields.h"
#include "report/FifoPolls.h"
#include "report/Narrator.h"

#include <utility>

namespace Host {

using namespace Hardware;
using Input::Json;

namespace {

// What happened to one chip, as it grows.
class ChipHistory {
 public:
   // A Tolvane has no description of a sequence.
   ChipHistory( std::string const & name, Input::Max24305Description const * chip )
      : name( name ), polls( chip ? FifoPolls( *chip ) : FifoPolls() ), chip_( chip ) {
      json["chip"] = name;
      for ( char const * list : { "attempts", "polls", "frequencies", "gates", "states" } ) json[list] = Json::array();
   }

   void gate( U64 ns, Gate const & rows ) {
      Json list = Json::array();
      for ( GateRow const & row : rows )
         list.push_back(
            { { "condition", row.condition.stdString() }, { "value", row.value.stdString() }, { "met", row.met } } );
      if ( std::exchange( gate_, list ) != list )
         json["gates"].push_back( { { "ns", ns }, { "open", allMet( rows ) }, { "rows", std::move( list ) } } );
   }

   void step( U64 ns, Step const & step ) {
      fifos_ = Json::array();
      for ( SpiCtrl const & poll : polls.taken() ) fifos_.push_back( { poll.writeFifoCount(), poll.readFifoCount() } );
      std::visit( [&]( auto const & values ) { take( ns, values ); }, step );
      lastNs_ = ns;
   }

   std::string name;
   FifoPolls polls;
   Json json;

 private:
   // With the step's fields, as the event log names them, behind what is there.
   static Json with( Json json, auto const & step ) {
      Recording::forEachField( step, [&]( std::string_view field, auto const & value ) {
         if constexpr ( std::is_enum_v<std::remove_cvref_t<decltype( value )>> )
            json[field] = stringValue( value ).stdString();
         else
            json[field] = value;
      } );
      return json;
   }

   // A recording may begin in the middle of an attempt.
   Json & attempt() {
      Json & attempts = json["attempts"];
      if ( attempts.empty() ) attempts.push_back( Json{ { "operations", Json::array() } } );
      return attempts.back();
   }

   void take( U64, Steps::GateEvaluated const & ) {}   // an event of its own
   void take( U64 ns, Steps::AttemptBegun const & begun ) {
      json["attempts"].push_back( with( Json::object(), begun ) );
      attempt()["begunNs"] = ns;
      attempt()["operations"] = Json::array();
   }
   void take( U64 ns, Steps::ResetPulsed const & ) { attempt()["pulsedNs"] = ns; }
   void take( U64 ns, Steps::CleanedUp const & ) { attempt()["cleanNs"] = ns; }
   void take( U64 ns, Steps::OperationDone const & done ) {
      auto const & [key, type, address, value] = done.operation;
      Json operation{ { "place", done.place }, { "of", done.of } };
      if ( chip_ && done.place - 1 < chip_->sequenceLines.size() ) {
         operation["file"] = chip_->sequenceFile;
         operation["line"] = chip_->sequenceLines[done.place - 1];
      }
      operation["type"] = stringValue( type ).stdString();
      operation["address"] = address;
      operation[done.byteRead ? "want" : "value"] = value;
      if ( done.byteRead ) operation["got"] = *done.byteRead;
      operation["outcome"] = Recording::outcomeNames[static_cast<std::size_t>( done.outcome )];
      operation["begunNs"] = lastNs_;
      operation["endNs"] = ns;
      operation["fifos"] = fifos_;
      attempt()["operations"].push_back( std::move( operation ) );
   }
   void take( U64, Steps::EnableDone const & done ) { attempt()["enable"] = with( Json::object(), done ); }
   void take( U64 ns, Steps::AttemptFailed const & ) { attemptEnded( ns, false ); }
   void take( U64 ns, Steps::ProgrammingEnded const & ended ) {
      if ( ended.succeeded ) attemptEnded( ns, true );
   }
   void attemptEnded( U64 ns, bool succeeded ) {
      attempt()["endNs"] = ns;
      attempt()["succeeded"] = succeeded;
   }
   void take( U64 ns, Steps::LockPolled const & polled ) {
      json["polls"].push_back( with( { { "ns", ns } }, polled ) );
      json["polls"].back()["fifos"] = fifos_;
   }
   void take( U64 ns, Steps::FrequencyRead const & read ) {
      json["frequencies"].push_back( with( { { "ns", ns } }, read ) );
   }
   void take( U64 ns, Steps::Published const & published ) {
      json["states"].push_back( with( { { "ns", ns } }, published ) );
   }
   void take( U64 ns, Steps::TolvanePublished const & published ) {
      json["states"].push_back( with( { { "ns", ns } }, published ) );
   }

   Input::Max24305Description const * const chip_;
   Json gate_;        // the last one's rows
   Json fifos_;       // before the present step
   U64 lastNs_ = 0;   // of the step before
};

}   // namespace

Json historyOf( Recording::Reader & reader, std::function<void( Recording::Event const & )> const & also ) {
   Recording::Header const & header = reader.header();
   Json history{
      { "program", header.program }, { "began", header.began }, { "card", header.card.file }, { "endNs", 0 } };
   Json lines = Json::array();
   Narrator narrator( header.card, {}, [&]( JournalLine const & line ) {
      constexpr std::string_view tones[] = { "plain", "good", "bad", "busy", "quiet", "strong" };
      lines.push_back(
         { { "ns", line.ns },
           { "chip", line.chip },
           { "what", line.what },
           { "details", line.details },
           { "tone", tones[static_cast<std::size_t>( line.tone )] } } );
   } );
   std::vector<ChipHistory> chips;
   for ( auto const & chip : header.card.tolvanes ) chips.emplace_back( chip.name, nullptr );
   for ( auto const & chip : header.card.max24305s ) chips.emplace_back( chip.name, &chip );
   while ( std::optional<Recording::Event> const event = reader.next() ) {
      history["endNs"] = event->ns;
      narrator.take( *event );
      if ( also ) also( *event );
      handTo( chips, *event );
   }
   narrator.end();
   history["cutOff"] = reader.cutOff();
   for ( ChipHistory & chip : chips ) history["chips"].push_back( std::move( chip.json ) );
   history["lines"] = std::move( lines );
   return history;
}

}   // namespace Host
