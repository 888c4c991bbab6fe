// The account of a bring-up for people: the card's chips, what happens as a Narrator tells it, and at the end the
// states and how much time each step took. It takes the events as they happen, or as they are read from a log.
//
//    Host::Report report( std::cout, Host::styleOf( STDOUT_FILENO ), world.card().description(), {} );
//    Recording::EventStream stream( [&]( Recording::Event const & event ) { report.take( event ); } );
//    Recording::Recorder const recorder( stream, world.events(), world.card() );
//    report.begin( "examples/demo.json" );
//    world.run();
//    report.end();
//
// As a listener of a simulated card it also shows what the scenario does, and accesses where the card has no register.
#pragma once

#include "report/Narrator.h"
#include "report/Style.h"
#include "sim/CardListener.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace Host {

class Report final : public Sim::CardListener {
 public:
   /// Stream and card outlive the report.
   Report( std::ostream & out, Style style, Input::CardDescription const & card, NarratorOptions options );

   void begin( std::string const & title );
   void take( Recording::Event const & event );
   void end();

   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void onScenario( U64 ns, std::string_view what ) override;

 private:
   void tell( JournalLine const & line );

   std::ostream & out_;
   Style const style_;
   Input::CardDescription const & card_;
   std::size_t const chipWidth_;
   Narrator narrator_;
};

}   // namespace Host
