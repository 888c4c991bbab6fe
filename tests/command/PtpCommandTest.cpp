// The agent that follows a PTP daemon: one that the test scripts, and linuxptp's own where namespaces can be made.
#include "input/Json.h"
#include "recording/Reader.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"
#include "tests/service/PtpServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

namespace Host::PtpCommandTests {
namespace {

using Input::Json;
using testing::HasSubstr;
using namespace std::chrono_literals;

// Answers at once, on a thread of its own.
class LivingPtpServer {
 public:
   explicit LivingPtpServer( std::string const & path ) : server_( path ) {}
   ~LivingPtpServer() {
      ended_ = true;
      thread_.join();
   }
   LivingPtpServer( LivingPtpServer const & ) = delete;
   LivingPtpServer & operator=( LivingPtpServer const & ) = delete;

   void portIs( U8 state ) {
      std::lock_guard const lock( mutex_ );
      server_.ports = { { 1, state } };
      server_.tell( 1, state );
   }
   // How the sending of a message failed; 0 where it did not.
   int sendError() {
      std::lock_guard const lock( mutex_ );
      return server_.send( std::vector<U8>( 80 ) ) ? 0 : errno;
   }

 private:
   void serve() {
      while ( !ended_ ) {
         {
            std::lock_guard const lock( mutex_ );
            server_.take();
         }
         std::this_thread::sleep_for( 2ms );
      }
   }

   std::mutex mutex_;
   PtpServer server_;
   std::atomic<bool> ended_{ false };
   std::thread thread_{ [this] { serve(); } };
};

class PtpCommandTest : public testing::Test {
 protected:
   // The words of an agent on a simulated card of that name.
   std::vector<std::string> agentOn( std::string const & name, std::string const & socket ) const {
      std::string const card = folder.file(
         name + ".json",
         R"({ "access": { "kind": "simulated", "lockAfterNs": 0 }, "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 4 } ],
              "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                           "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                           "spiResetSupported": true, "sequence": )" +
            Input::shortSequence + " } ] }" );
      return { "agent",    card,
               "--ptp",    socket,
               "--state",  folder.path( name + ".db" ),
               "--socket", folder.path( name + ".run/socket" ),
               "--events", folder.path( name + ".events" ) };
   }
   Ran ranOn( std::string const & name, std::vector<std::string> words ) const {
      for ( std::string const & word : { std::string( "--state" ), folder.path( name + ".db" ) } )
         words.push_back( word );
      return run( words );
   }
   static void stop( Process & agent ) {
      agent.signal( SIGTERM );
      EXPECT_EQ( agent.result(), 0 ) << agent.output() << agent.errors();
   }
   // What the machines were told of time sync after the start, and how often they programmed a chip.
   void expectTold( std::string const & name, std::vector<U32> const & states ) const {
      Recording::Reader reader( folder.path( name + ".events" ) );
      std::vector<U32> told;
      int attempts = 0;
      while ( std::optional<Recording::Event> const event = reader.next() ) {
         auto const * input = std::get_if<Recording::InputChange>( &event->what );
         if ( input && input->what == "timeSync" ) told.push_back( input->value );
         auto const * step = std::get_if<Recording::Step>( &event->what );
         if ( step && std::holds_alternative<Hardware::Steps::AttemptBegun>( step->step ) ) ++attempts;
      }
      EXPECT_EQ( told, states );
      EXPECT_EQ( attempts, 1 ) << "a good clock was taken down";
   }

   Input::Folder const folder;
   std::string const path = folder.path( "ptp4l" );
};

TEST_F( PtpCommandTest, TheAgentFollowsItsDaemonAndHoldsALostOneOver ) {
   auto server = std::make_unique<LivingPtpServer>( path );
   Process agent( agentOn( "card", path ) );
   Process without( agentOn( "without", folder.path( "none" ) ) );
   ASSERT_TRUE( agent.outputHas( "the PTP daemon has port 1 listening: time sync enabling" ) ) << agent.output();
   ASSERT_TRUE( agent.outputHas( "attempt 1" ) ) << agent.output();
   // Its thread is the bring-up's now, and the daemon does not wait for it.
   int error = 0;
   for ( int looks = 0; looks < 1'000 && error == 0; ++looks ) {
      error = server->sendError();
      std::this_thread::sleep_for( 1ms );
   }
   EXPECT_EQ( error, ENOENT );
   ASSERT_TRUE( agent.outputHas( "clock ready" ) ) << agent.output();
   server->portIs( 9 );
   ASSERT_TRUE( agent.outputHas( "input           time-sync state 3" ) ) << agent.output();
   Ran const set = ranOn( "card", { "set", "/timeSync", "state", "disabled" } );
   EXPECT_EQ( set.result, 2 );
   EXPECT_THAT( set.errors, HasSubstr( "is not set: the PTP daemon at " + path + " says what it is; " ) );
   EXPECT_EQ( ranOn( "card", { "set", "/redundancy", "mode", "switchover" } ).output, "switchover\n" );
   EXPECT_EQ( ranOn( "card", { "set", "/redundancy", "switchoverStage", "DovraWritable", "true" } ).output, "true\n" );
   server.reset();
   ASSERT_TRUE( agent.outputHas( "input           time-sync state 4" ) ) << agent.output();
   EXPECT_EQ(
      Json::parse( ranOn( "card", { "status", "--json" } ).output ).at( "timeSync" ),
      Json( { { "told", "holdover" }, { "source", "holdover" }, { "heldBack", "" } } ) );
   stop( agent );
   expectTold( "card", { 3, 4 } );
   // Started again, as after a crash: to the chips it is the same loss.
   Process again( agentOn( "card", path ) );
   ASSERT_TRUE( again.outputHas( "does not answer in domain 0: time sync holdover" ) ) << again.output();
   ASSERT_TRUE( again.outputHas( "clock ready" ) ) << again.output();
   stop( again );
   EXPECT_TRUE( without.outputHas( "not met: time sync disabled" ) ) << without.output();
   without.signal( SIGTERM );
   EXPECT_EQ( without.result(), 1 );
   EXPECT_EQ( without.output().find( "attempt" ), std::string::npos );
}

TEST_F( PtpCommandTest, OneSourceIsEnough ) {
   for ( std::vector<std::string> const & other :
         { std::vector<std::string>{ "--time-sync", "1" }, { "--await-time-sync" } } ) {
      std::vector<std::string> words = agentOn( "card", path );
      words.insert( words.end(), other.begin(), other.end() );
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_THAT( ran.errors, HasSubstr( other[0] + " excludes --ptp" ) );
   }
   EXPECT_THAT( run( { "agent", "card.json", "--holdover", "1" } ).errors, HasSubstr( "--holdover requires --ptp" ) );
}

// Two daemons on the ends of a cable, in a network of their own, where nobody can set the machine's clock. Each word
// from the test ends one: first the master.
char const twoDaemons[] = R"(
PATH=$PATH:/usr/sbin:/sbin
ip link add end0 type veth peer name end1
ip link set end0 up
ip link set end1 up
for name in master slave; do
   cat >$name.cfg <<CONFIG
[global]
time_stamping software
network_transport L2
logAnnounceInterval -3
logSyncInterval -3
logMinDelayReqInterval -3
pi_proportional_const 0.7
pi_integral_const 0.3
uds_address $PWD/$name
CONFIG
done
echo 'free_running 1' >>master.cfg
echo 'slaveOnly 1' >>slave.cfg
ptp4l -f master.cfg -i end0 -m >master.log 2>&1 & master=$!
ptp4l -f slave.cfg -i end1 -m >slave.log 2>&1 & slave=$!
read word; kill $master
read word; kill $slave
)";

// NOLINTBEGIN(cert-env33-c): a shell is what these words are for, and they are the test's own.
bool works( std::string const & words ) { return std::system( words.c_str() ) == 0; }

using WordsToShell = std::unique_ptr<std::FILE, int ( * )( std::FILE * )>;
WordsToShell shellWith( std::string const & words ) { return { ::popen( words.c_str(), "we" ), &::pclose }; }
// NOLINTEND(cert-env33-c)

constexpr char inNamespaces[] = "exec unshare --user --map-root-user --net --pid --fork --kill-child ";

TEST_F( PtpCommandTest, TheAgentFollowsLinuxptp ) {
   if ( !works( "PATH=$PATH:/usr/sbin:/sbin; (command -v ptp4l && command -v ip && command -v unshare) >/dev/null" ) )
      GTEST_SKIP() << "ptp4l, ip or unshare is not installed";
   std::string const cable = "sh -c 'PATH=$PATH:/usr/sbin:/sbin; ip link add type veth' >/dev/null 2>&1";
   if ( !works( inNamespaces + cable ) ) GTEST_SKIP() << "this user cannot make namespaces with a network here";
   std::string const script =
      "cd '" + folder.path( "" ) + "' && " + inNamespaces + "sh '" + folder.file( "two", twoDaemons ) + "'";
   WordsToShell const daemons = shellWith( script );
   ASSERT_TRUE( daemons );
   auto const endOne = [&] {
      std::fputs( "\n", daemons.get() );
      std::fflush( daemons.get() );
   };
   {
      Process slave( agentOn( "onSlave", folder.path( "slave" ) ) );
      Process master( agentOn( "onMaster", folder.path( "master" ) ) );
      ASSERT_TRUE( slave.outputHas( "has port 1 slave: time sync locked" ) )
         << slave.output() << folder.content( "slave.log" );
      ASSERT_TRUE( master.outputHas( "has port 1 master: time sync locked" ) ) << master.output();
      for ( Process * const agent : { &slave, &master } )
         ASSERT_TRUE( agent->outputHas( "clock ready" ) ) << agent->output();
      ASSERT_TRUE( slave.outputHas( "input           time-sync state 3" ) ) << slave.output();
      endOne();
      EXPECT_TRUE( slave.outputHas( "has port 1 listening: time sync holdover" ) ) << slave.output();
      EXPECT_TRUE( slave.outputHas( "input           time-sync state 4" ) ) << slave.output();
      stop( slave );
      stop( master );
   }
   EXPECT_THAT( folder.content( "onSlave.events" ), testing::Not( HasSubstr( R"("what":"timeSync","value":0)" ) ) );
   endOne();
}

}   // namespace
}   // namespace Host::PtpCommandTests
