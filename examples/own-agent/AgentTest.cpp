// An agent of one's own, tested in virtual time on the simulated card: AgentTest CARD
#include <clockpath/card/SimulatedWorld.h>
#include <clockpath/framework/ActivityManager.h>

#include <iostream>

namespace {

using Hardware::Max24305::Status;

// The agent, or the part of it that is tested here: an alarm from when a synthesiser fails until it is ready again. It
// knows the library, and nothing of any simulation.
class Alarm : public Status::NotifieeConst {
 public:
   explicit Alarm( Vor::Ptr<Status const> const & status ) : status_( status.ptr() ) { notifierIs( status ); }

   void onState() override {
      double const now = Vor::activityManager().config().clock()->now();
      if ( status_->state() == Hardware::Max24305::failed_ ) raisedAt_ = now;
      if ( status_->state() == Hardware::Max24305::ready_ && raisedAt_ >= 0 ) clearedAt_ = now;
   }
   double raisedAt() const { return raisedAt_; }
   double clearedAt() const { return clearedAt_; }

 private:
   Status const * status_;
   double raisedAt_ = -1;   // seconds of the agent's clock; -1 for never
   double clearedAt_ = -1;
};

// Brings the card up, with what the scenario does to it, and returns the alarm as it ended.
Vor::Ptr<Alarm> alarmAfter( Input::CardDescription const & card, Sim::Scenario const & scenario ) {
   Host::SimulatedWorld world( card, scenario );
   Vor::Ptr<Alarm> const alarm = new Alarm( world.card().max24305StatusDir()->max24305( "ptp1" ) );
   world.run();
   return alarm;
}

}   // namespace

int main( int, char ** argv ) {
   constexpr U64 second = 1'000'000'000;
   Input::CardDescription const card = Input::readCard( argv[1] );

   Vor::Ptr<Alarm> const healthy = alarmAfter( card, Sim::Scenario{} );

   // The synthesiser cannot lock for twelve minutes; then time sync changes, and its machine tries again.
   Sim::Scenario scenario;
   Sim::Fault const noLock{ .kind = Sim::FaultKind::neverLock_, .forNs = 720 * second };
   scenario.events.push_back( { 0, { { .key = "fault", .name = "ptp1", .fault = noLock } } } );
   scenario.events.push_back( { 720 * second, { { .key = "timeSync", .value = 2 } } } );
   Vor::Ptr<Alarm> const troubled = alarmAfter( card, scenario );

   std::cout << "healthy: raised at " << healthy->raisedAt() << "\ntroubled: raised at " << troubled->raisedAt()
             << ", cleared at " << troubled->clearedAt() << '\n';
   bool const good = healthy->raisedAt() < 0 && troubled->raisedAt() > 0 && troubled->raisedAt() < 720 &&
                     troubled->clearedAt() > 720 && troubled->clearedAt() < 730;
   return good ? 0 : 1;
}
