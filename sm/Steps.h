// Steps: what the machines do, one by one, as values. This is how a host shows the progress of a bring-up, keeps a
// journal of it, or finds out why it failed; docs/steps.md tells more.
//
//    class Progress final : public Hardware::StepSink {
//       void step( Vor::Entity const & config, Hardware::Step const & step ) override {
//          if ( auto const * done = std::get_if<Hardware::Steps::OperationDone>( &step ) )
//             std::cout << config.name() << ": " << done->place << " of " << done->of << '\n';
//       }
//    };
//    Hardware::stepSinkIs( new Progress );
//
// A process has one sink. It is told on the machine's thread, after the states that a step speaks of are stored, and
// before the next sleep: also before those who watch such a state, who may bring up the next chip. A machine that
// has lost its configuration tells nothing. While there is no sink a step costs one relaxed load and a branch.
#pragma once

#include "hardware/Max24305Op.h"
#include "hardware/TolvaneTypes.h"
#include "platform/ClockStatus.h"
#include "sm/Gate.h"

#include <atomic>
#include <functional>
#include <optional>
#include <variant>

namespace Hardware {

namespace Steps {

/// A machine has looked at its gate; the rows live as long as the call. An open gate need not program: the chip may be
/// ready already.
struct GateEvaluated {
   std::span<GateRow const> rows;
};

/// The chip's reset comes next.
struct AttemptBegun {
   U32 number = 0;   ///< from 1, in each bring-up
   U32 of = 0;       ///< how many there may be
};

/// The reset pulse and the chip's recovery are over.
struct ResetPulsed {};

/// The SPI master is clean.
struct CleanedUp {};

enum class Outcome { done_, readMismatch_, writeNotSent_ };

/// One operation of a MAX24305's sequence is over.
struct OperationDone {
   U32 place = 0;   ///< in the queue, from 1
   U32 of = 0;      ///< how many the queue had as the attempt came to it
   Max24305::Op operation;
   std::optional<U8> byteRead;   ///< of a read; 0xFF may as well be no answer
   Outcome outcome = Outcome::done_;
};

/// A Tolvane was enabled, and its enable register read back.
struct EnableDone {
   U32 word = 0;           ///< as read back
   bool answers = false;   ///< whether either of the two bits is set
};

/// The machine has published the failure.
struct AttemptFailed {
   U32 number = 0;
   U32 of = 0;
   std::variant<OperationDone, EnableDone> at;   ///< what it failed at
};

/// The last attempt of a bring-up is over: a MAX24305 goes on to its lock, a Tolvane is ready, or the machine gives up.
struct ProgrammingEnded {
   U32 attempts = 0;
   bool succeeded = false;
};

/// A MAX24305 was asked whether it has locked.
struct LockPolled {
   U32 number = 0;   ///< from 1
   U32 of = 0;       ///< the last one; without lock at that the chip has failed
   U8 status = 0;    ///< its register ApllStatus; 0xFF may as well be no answer
};

/// The FPGA was asked for the frequency of a chip that has locked.
struct FrequencyRead {
   U32 frequencyInHz = 0;
};

/// One of the two records of a MAX24305 has changed; both as they stand.
struct Published {
   Max24305::State state;
   Kiv::ClockStatus::State clock;
};

/// The record of a Tolvane has changed.
struct TolvanePublished {
   Tolvane::State state;
};

}   // namespace Steps

using Step = std::variant<
   Steps::GateEvaluated, Steps::AttemptBegun, Steps::ResetPulsed, Steps::CleanedUp, Steps::OperationDone,
   Steps::EnableDone, Steps::AttemptFailed, Steps::ProgrammingEnded, Steps::LockPolled, Steps::FrequencyRead,
   Steps::Published, Steps::TolvanePublished>;

/// Where steps go. A sink changes nothing that a machine watches, runs no machine, and throws nothing.
class StepSink : public Vor::PtrInterface {
 public:
   /// `config` is the configuration of the chip whose machine does it.
   virtual void step( Vor::Entity const & config, Step const & step ) = 0;
};

/// Installs a sink; null takes it away. Returns the one that stood there, null at first.
Vor::Ptr<StepSink> stepSinkIs( Vor::Ptr<StepSink> const & sink );

// For the machines.

namespace Detail {
extern std::atomic<bool> stepSinkSet;
void tellStep( Vor::Entity const & config, Step const & step );
void tellOnce( Vor::Entity const & record, std::function<void()> const & set, std::function<void()> tell );
}   // namespace Detail

/// Whether there is a sink.
inline bool stepsTold() { return Detail::stepSinkSet.load( std::memory_order_relaxed ); }

template<class Machine, class OneStep> void tellStep( Machine const & machine, OneStep const & step ) {
   if ( !stepsTold() ) [[likely]]
      return;
   if ( auto const config = machine.config() ) Detail::tellStep( *config, step );
}

/// The records that a machine publishes, as they stand.
template<class Machine> auto published( Machine const & machine ) {
   if constexpr ( requires { machine.pllStatus(); } )
      return Steps::Published{ machine.status()->state(), machine.pllStatus()->state() };
   else
      return Steps::TolvanePublished{ machine.status()->state() };
}

/// Sets the state of a record that a machine publishes. Where there is a sink, it is told of `first`, then of the
/// change, as soon as the state is stored.
template<class Machine, class Record, class State, class... First>
void publish( Machine const & machine, Vor::Ptr<Record> const & record, State state, First const &... first ) {
   auto const tell = [&]( bool changed ) {
      ( tellStep( machine, first ), ... );
      if ( changed ) tellStep( machine, published( machine ) );
   };
   if ( !stepsTold() )
      record->stateIs( state );
   else if ( record->state() == state )
      tell( false );
   else
      Detail::tellOnce(
         *record, [&] { record->stateIs( state ); }, [&] { tell( true ); } );
}

}   // namespace Hardware
