// A bring-up of the simulated card, written to every log as it goes: they all tell the same of it.
#include "card/SimulatedWorld.h"
#include "framework/LogWriter.h"
#include "framework/Mirror.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "sim/CardListener.h"
#include "tests/state/Logs.h"

#include <gmock/gmock.h>

namespace State {
namespace {

class PublishedBringUp final : Sim::CardListener {
 public:
   explicit PublishedBringUp( std::vector<TurnSink *> logs ) : logs_( std::move( logs ) ) {
      Input::JsonDocument const file = Input::readJson( CLOCKPATH_EXAMPLES "demo.json" );
      Input::CardDescription const description = Input::cardOfScenario( file.root() );
      Host::SimulatedWorld world( description, Input::readScenario( file.root(), description ) );
      Host::Card const & card = world.card();
      publish( card.timeSync().ptr() );
      publish( card.redundancy().ptr() );
      publish( card.ham().ptr() );
      for ( auto const & [name, status] : card.clockStatuses() ) publish( status.ptr() );
      for ( auto const & gpo : description.gpos ) publish( card.gpo( gpo.name ).ptr() );
      publish( card.tolvaneConfigDir().ptr() );
      publish( card.tolvaneStatusDir().ptr() );
      publish( card.max24305ConfigDir().ptr() );
      publish( card.max24305StatusDir().ptr() );
      turnEnds( true );
      world.events().listenerAdd( *this );
      world.run();
      world.events().listenersDel();
      turnEnds( false );
      LogBatch whole;
      writer_.whole( whole );
      whole_ = linesOf( whole );
   }
   U64 turns() const { return number_; }
   /// What the entities are in the end.
   std::vector<std::string> const & whole() const { return whole_; }

 private:
   // Its parents first.
   void publish( Vor::Entity const * entity ) {
      if ( entity == nullptr || !published_.insert( entity ).second ) return;
      publish( entity->parent() );
      writer_.entityAdd( Vor::Ptr<Vor::Entity const>( entity ) );
   }
   // A batch ends at each state of a machine, and at each sleep.
   void onState( U64, Sim::StateChange const & ) override { turnEnds( false ); }
   void onSleep( U64, U64 ) override { turnEnds( false ); }
   void turnEnds( bool whole ) {
      if ( writer_.turn().empty() ) return;
      ++number_;
      for ( TurnSink * const log : logs_ ) log->append( { { 1, number_ }, whole, writer_.turn() } );
      writer_.turnDone();
   }

   std::vector<TurnSink *> const logs_;
   Vor::LogWriter writer_;
   std::set<Vor::Entity const *> published_;
   U64 number_ = 0;
   std::vector<std::string> whole_;
};

// Whether the entity comes with the directory that it is in.
bool isMember( Vor::Entity const & entity ) {
   Vor::Entity const * const parent = entity.parent();
   return parent != nullptr && parent->fwkType().attributes()[entity.parentAttrId()].wire.member;
}

std::vector<std::string> sorted( std::vector<std::string> lines ) {
   std::ranges::sort( lines );
   return lines;
}

TEST( ScenarioTest, EveryLogTellsTheSameOfABringUp ) {
   std::vector<std::unique_ptr<AnyLog>> logs;
   std::vector<std::unique_ptr<TurnSink>> sinks;
   std::vector<TurnSink *> written;
   for ( char const * const kind : { "Memory", "Sqlite", "Redis" } ) {
      logs.push_back( anyLog( kind ) );
      sinks.push_back( logs.back()->sink() );
      written.push_back( sinks.back().get() );
   }
   PublishedBringUp const bringUp( written );
   EXPECT_GT( bringUp.turns(), 10U );
   std::vector<std::string> const inMemory = snapshotOf( *logs[0]->source() );
   EXPECT_EQ( sorted( inMemory ), sorted( bringUp.whole() ) );
   EXPECT_EQ( snapshotOf( *logs[1]->source() ), inMemory );
   EXPECT_EQ( snapshotOf( *logs[2]->source() ), inMemory );
}

TEST( ScenarioTest, AMirrorOfEveryLogIsWhatTheEntitiesAre ) {
   for ( char const * const kind : { "Memory", "Sqlite", "Redis" } ) {
      std::unique_ptr<AnyLog> const log = anyLog( kind );
      std::unique_ptr<TurnSink> const sink = log->sink( 1'000'000 );
      PublishedBringUp const bringUp( { sink.get() } );
      std::unique_ptr<LogSource> const source = log->source();
      std::vector<std::string> told;
      Vor::Mirror mirror( [&]( Vor::String const & text ) { told.push_back( text.stdString() ); } );
      LogBatch batch;
      source->snapshot( batch );
      mirror.snapshotIs( batch );
      // What the mirror has made, written again.
      Vor::LogWriter again;
      for ( auto const & entity : mirror.entities() )
         if ( !isMember( *entity ) ) again.entityAdd( entity );
      LogBatch whole;
      again.whole( whole );
      EXPECT_EQ( sorted( linesOf( whole ) ), sorted( bringUp.whole() ) ) << kind;
      EXPECT_THAT( told, testing::IsEmpty() ) << kind;
   }
}

}   // namespace
}   // namespace State
