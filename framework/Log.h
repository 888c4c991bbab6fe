// Logged messages: what an operator has to know. A message is declared once, as its library is loaded, and raised by
// its identifier:
//
//    static Vor::LogHandle const initFailed(
//       "FAN_INIT_FAILED", 3, "Possible hardware error with the fan.", "Initialization of the fan has failed.",
//       Vor::CallSupportIfPersists, 0.0, 1.0, 0 );
//
//    if ( Vor::okToLog( initFailed.id() ) ) Vor::log( initFailed.id(), nullptr, 0 );
//
// Severities, as system loggers number them: 0 emergency, 1 alert, 2 critical, 3 error, 4 warning, 5 notice,
// 6 informational, 7 debug.
//
// Limits keep a message that recurs from flooding the operator. With an interval of I seconds and a burst of B, a
// message may be logged B times, and at least once, within I seconds of the first; the first one after that begins the
// next interval. An interval of 0 sets no limit. A message that is once-only may be logged once in the life of its
// declaration. Time is that of the activity manager's clock.
//
// Messages go to standard error, one line each, or to the sink that the host installs.
#pragma once

#include "framework/Text.h"

#include <span>
#include <vector>

namespace Vor {

/// The standard recommended action.
inline constexpr char CallSupportIfPersists[] = "If this condition persists, contact technical support.";

/// The declaration of a message, known to the process while it lives.
class LogHandle {
 public:
   /// `cause` is what probably stands behind it, `event` what happened; `once` other than 0 makes it once-only. Throws
   /// NameInUseException when the identifier is declared already, RangeException for a severity above 7.
   LogHandle(
      char const * id, U32 severity, char const * cause, char const * event, char const * recommendedAction,
      double intervalSeconds, double burst, int once );
   ~LogHandle();
   LogHandle( LogHandle const & ) = delete;
   LogHandle & operator=( LogHandle const & ) = delete;

   String const & id() const { return id_; }
   U32 severity() const { return severity_; }
   String const & cause() const { return cause_; }
   String const & event() const { return event_; }
   String const & recommendedAction() const { return recommendedAction_; }
   double intervalSeconds() const { return intervalSeconds_; }
   double burst() const { return burst_; }
   bool once() const { return once_; }

 private:
   friend bool okToLog( String const & id );
   friend void log( String const & id, String const * arguments, std::size_t count );

   // A clock that reads less than when the interval began is another one: its time says nothing of this interval.
   bool intervalOver( double now ) const {
      return now < intervalStart_ || !( now < intervalStart_ + intervalSeconds_ );
   }

   String const id_;
   U32 const severity_;
   String const cause_;
   String const event_;
   String const recommendedAction_;
   double const intervalSeconds_;
   double const burst_;
   bool const once_;
   mutable double intervalStart_ = 0;
   mutable U64 loggedInInterval_ = 0;
   mutable U64 logged_ = 0;
};

/// Whether the message's limits let it be logged now. Throws NameNotFoundException for one that is not declared.
bool okToLog( String const & id );

/// Logs the message and counts it against its limits, which are the caller's to ask for first. Throws
/// NameNotFoundException for one that is not declared.
void log( String const & id, String const * arguments, std::size_t count );

/// The declared messages, in the order of their declaration.
std::vector<LogHandle const *> logHandles();

/// One message as it is logged; it lives as long as the call that hands it over.
struct LogRecord {
   String const & id;
   U32 severity;
   String const & cause;
   String const & event;
   String const & recommendedAction;
   std::span<String const> arguments;
};

/// Where logged messages go. A sink neither throws nor logs.
class LogSink : public PtrInterface {
 public:
   virtual void log( LogRecord const & record ) = 0;
};

/// Installs a sink in place of standard error, which null restores. Returns the one that stood there, null at first.
Ptr<LogSink> logSinkIs( Ptr<LogSink> const & sink );

/// The name of a severity: "error".
char const * severityText( U32 severity );

}   // namespace Vor
