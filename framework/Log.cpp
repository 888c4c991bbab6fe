#include "framework/Log.h"

#include "framework/ActivityManager.h"
#include "framework/Exception.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Vor {

namespace {

constexpr char const * severities[] = { "emergency", "alert",  "critical",      "error",
                                        "warning",   "notice", "informational", "debug" };

// There before any dynamic initialiser and after every destructor of the libraries and programs that use them.
constinit std::vector<LogHandle const *> handles;
constinit Ptr<LogSink> installedSink;

LogHandle const * find( String const & id ) {
   auto const at = std::ranges::find( handles, id, &LogHandle::id );
   return at == handles.end() ? nullptr : *at;
}

LogHandle const & declared( String const & id ) {
   LogHandle const * const handle = find( id );
   if ( !handle ) throw NameNotFoundException( "log message '" + id + "' is not declared" );
   return *handle;
}

double now() { return activityManager().config().clock()->now(); }

void toStandardError( LogRecord const & record ) {
   String line = record.id + " (" + severityText( record.severity ) + "): " + record.event + " " + record.cause;
   for ( String const & argument : record.arguments ) line += " [" + argument + "]";
   line += " Recommended action: " + record.recommendedAction;
   std::fprintf( stderr, "%14.6f %s\n", now(), oneLine( line ).charPtr() );
}

}   // namespace

char const * severityText( U32 severity ) {
   if ( severity >= std::size( severities ) )
      throw RangeException( format( "log severity: expected 0 to 7, found %u", severity ) );
   return severities[severity];
}

LogHandle::LogHandle(
   char const * id, U32 severity, char const * cause, char const * event, char const * recommendedAction,
   double intervalSeconds, double burst, int once )
   : id_( id ),
     severity_( severity ),
     cause_( cause ),
     event_( event ),
     recommendedAction_( recommendedAction ),
     intervalSeconds_( intervalSeconds ),
     burst_( burst ),
     once_( once != 0 ) {
   severityText( severity );
   if ( find( id_ ) ) throwNameInUseException( "log message '" + id_ + "' is declared already" );
   handles.push_back( this );
}

LogHandle::~LogHandle() { std::erase( handles, this ); }

bool okToLog( String const & id ) {
   LogHandle const & handle = declared( id );
   if ( handle.logged_ == 0 ) return true;
   if ( handle.once_ ) return false;
   return handle.intervalOver( now() ) || static_cast<double>( handle.loggedInInterval_ ) + 1.0 <= handle.burst_;
}

void log( String const & id, String const * arguments, std::size_t count ) {
   LogHandle const & handle = declared( id );
   if ( double const time = now(); handle.logged_ == 0 || handle.intervalOver( time ) ) {
      handle.intervalStart_ = time;
      handle.loggedInInterval_ = 0;
   }
   ++handle.loggedInInterval_;
   ++handle.logged_;
   LogRecord const record{ handle.id_,    handle.severity_,          handle.cause_,
                           handle.event_, handle.recommendedAction_, { arguments, count } };
   if ( Ptr<LogSink> const sink = installedSink )
      sink->log( record );
   else
      toStandardError( record );
}

std::vector<LogHandle const *> logHandles() { return handles; }

Ptr<LogSink> logSinkIs( Ptr<LogSink> const & sink ) { return std::exchange( installedSink, sink ); }

}   // namespace Vor
