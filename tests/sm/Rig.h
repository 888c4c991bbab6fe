// What the tests of the machines stand on: virtual time, and a diary of all that happens around a machine, in the order
// in which it happens: register accesses, sleeps, outputs, published states, traces, logged messages.
//
// A test lets something happen and compares the diary with the lines it expects, which it makes by the functions below:
//
//    Rig rig;
//    Vor::Ptr<ScriptedHam> const ham = new ScriptedHam( rig.diary );
//    ham->answersAre( 0x120, { 0, 1 } );
//    ...
//    EXPECT_EQ( rig.diary.take(), ( Lines{ write32( 0x100, 3 ), sleep( 1'000 ), read32( 0x120, 0 ) } ) );
#pragma once

#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "platform/Ham.h"
#include "platform/SetClearGpo.h"
#include "sim/VirtualClock.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace SmTest {

using Lines = std::vector<std::string>;

// The lines of a diary.
std::string hex( U32 value );
std::string read32( U32 address, U32 value );
std::string write32( U32 address, U32 value );
std::string sleep( U64 ns );
std::string gpo( bool active, std::string const & name = "reset" );
/// A state that was told to its observers; `state` is the enumerator's text.
std::string told( std::string const & entity, std::string const & state );
std::string trace( U32 level, std::string const & function, std::string const & text );
std::string log( std::string const & id, U32 severity, std::string const & cause, std::string const & event );

/// Several runs of lines, one after the other.
Lines operator+( Lines left, Lines const & right );
Lines times( std::size_t count, Lines const & lines );

class Diary {
 public:
   void add( std::string line ) { lines_.push_back( std::move( line ) ); }
   /// The lines so far; the diary is empty afterwards.
   Lines take() { return std::exchange( lines_, {} ); }
   Lines const & lines() const { return lines_; }
   /// The lines that begin with one of `beginnings`, such as "trace" or "status".
   Lines of( std::vector<std::string> const & beginnings ) const;
   std::size_t count( std::string const & line ) const;

   /// Sleeps up to that long are not written down, so that the polls of the SPI master do not hide the rest.
   void shortSleepNsIs( U64 ns ) { shortSleepNs_ = ns; }
   U64 shortSleepNs() const { return shortSleepNs_; }

 private:
   Lines lines_;
   U64 shortSleepNs_ = 0;
};

/// Virtual time, the traces of both machines' facilities and the logged messages, all into the diary. While it lives,
/// "SIMULATION_VMID" is absent unless the test sets it, and an assertion that fails also writes the diary to standard
/// error, one line each, where a death test finds it.
class Rig final {
 public:
   Rig();
   ~Rig();

   Diary diary;
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;

   /// Runs `action` once, as the next sleep of that length has begun. It may change inputs, and sleep itself.
   void inSleep( U64 ns, std::function<void()> action ) { inSleep_.emplace_back( ns, std::move( action ) ); }

   /// Moves on to the time at which the next timer is due and gives the activities a turn. False when none is armed.
   bool turn();
   /// Turns until no timer is armed any more, at most `limit` times; returns how many turns it took.
   U32 turns( U32 limit = 1'000 );

   static void simulationVmidIs( char const * value );
   static void simulationVmidDel();
   static void tracesAre( bool on );

 private:
   void handleSleep( U64 forNs );

   Sim::VirtualTime const virtualTime_{ clock };
   std::vector<std::pair<U64, std::function<void()>>> inSleep_;
   Vor::Ptr<Vor::TraceSink> traceSink_;
   Vor::Ptr<Vor::LogSink> logSink_;
   Vor::Ptr<Vor::TraceSink> outerTraceSink_;
   Vor::Ptr<Vor::LogSink> outerLogSink_;
   Vor::AssertionHook const outerAssertionHook_;
};

/// A handle that answers each read from its script; a read that was not scripted fails the test.
class ScriptedHam : public Fru::HamImpl {
 public:
   explicit ScriptedHam( Diary & diary ) : HamImpl( "kiv" ), diary_( diary ) {}

   /// The answers to the next reads of the register, appended to those that wait.
   void answersAre( U32 address, std::vector<U32> const & values );
   /// The answer to every read of the register that has no answer of its own.
   void answerIs( U32 address, U32 value ) { standing_[address] = value; }
   /// Whether every answer was fetched.
   bool exhausted() const;

   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   Diary & diary_;
   std::map<U32, std::deque<U32>> answers_;
   std::map<U32, U32> standing_;
};

/// Writes what an output is driven to into the diary.
class NotingGpoImpl final : public Fru::GpoImpl {
 public:
   NotingGpoImpl( Diary & diary, std::string name ) : diary_( diary ), name_( std::move( name ) ) {}
   void doEnable() override { diary_.add( gpo( true, name_ ) ); }
   void doDisable() override { diary_.add( gpo( false, name_ ) ); }

 private:
   Diary & diary_;
   std::string const name_;
};

/// A set/clear output, with a handle from the start, and the number of times its implementation was fetched.
class NotingGpo final : public Hardware::SetClearGpo {
 public:
   explicit NotingGpo( Diary & diary, char const * name = "reset" )
      : SetClearGpo( name ), impl_( new NotingGpoImpl( diary, name ) ) {
      hamIs( Fru::hamFactory( "gpoHam" ) );
   }
   Vor::Ptr<Fru::GpoImpl> impl() const override {
      ++fetched_;
      return impl_;
   }
   U32 fetched() const { return fetched_; }

 private:
   Vor::Ptr<NotingGpoImpl> const impl_;
   mutable U32 fetched_ = 0;
};

/// An output of another kind.
class OtherGpo final : public Fru::Gpo {
 public:
   explicit OtherGpo( Diary & diary ) : Gpo( "other" ), impl_( new NotingGpoImpl( diary, "reset" ) ) {}
   Vor::Ptr<Fru::GpoImpl> impl() const override { return impl_; }

 private:
   Vor::Ptr<NotingGpoImpl> const impl_;
};

/// Writes every state that an entity tells into the diary, then runs `action`, if there is one.
template<class Entity> class StateWatch final : public Entity::NotifieeConst {
 public:
   StateWatch( Vor::Ptr<Entity> const & entity, Diary & diary, std::string name )
      : diary_( diary ), name_( std::move( name ) ) {
      this->vorAttach( entity );
   }
   void onState() override {
      diary_.add( told( name_, std::string( stringValue( this->notifier()->state() ).stdString() ) ) );
      if ( action ) action();
   }
   std::function<void()> action;

 private:
   Diary & diary_;
   std::string const name_;
};

}   // namespace SmTest
