// Traces: the step-by-step narrative for developers, switched on per facility and level.
//
//    static Vor::TraceHandle traceHandle( "Hardware::Max24305Sm" );
//    static constexpr char vorSource[] = "Max24305Sm";
//
//    VOR_TRACE( traceHandle, 1, "Write " << Vor::format( "0x%x to 0x%x.", value, address ) );
//
// A trace that is off costs one relaxed load and a branch: no argument is evaluated and nothing is formatted. Levels
// are switched one by one (0 may be on with 1 off), and all are off at first:
//
//    Vor::traceLevelIs( "Hardware::Max24305Sm", 1, true );   // also before the library that declares it is loaded
//
// Traces go to standard error, one line each, or to the sink that the host installs. Levels may be read by any thread;
// all else belongs to the thread that dispatches notifications and timers.
#pragma once

#include "framework/Text.h"

#include <atomic>
#include <concepts>
#include <vector>

namespace Vor {

/// Levels go from 0 to one less than this.
constexpr U32 traceLevels = 32;

/// One facility's switches; the facility is known to the process while a handle of it lives.
class TraceHandle {
 public:
   explicit TraceHandle( char const * facility );
   ~TraceHandle();
   TraceHandle( TraceHandle const & ) = delete;
   TraceHandle & operator=( TraceHandle const & ) = delete;

   String const & facility() const { return facility_; }
   bool isEnabled( U32 level ) const {
      return level < traceLevels && ( enabled_.load( std::memory_order_relaxed ) >> level & 1 );
   }
   /// Throws RangeException for a level that there is not.
   void levelIs( U32 level, bool enabled );

 private:
   String const facility_;
   std::atomic<U32> enabled_{ 0 };   // bit n: level n
};

/// Switches a level of all handles of that facility, those that exist and those to come. Throws RangeException for a
/// level that there is not.
void traceLevelIs( String const & facility, U32 level, bool enabled );

/// The facilities that there are, sorted, each once.
std::vector<String> traceFacilities();

/// One trace; its texts live as long as the call that hands it over.
struct TraceRecord {
   char const * facility;
   U32 level;
   char const * source;     ///< the module's source name, not a path
   char const * function;   ///< without qualification or parameters
   U32 line;
   String const & text;   ///< as traced: it may hold control characters
};

/// Where traces go. A sink neither throws nor traces.
class TraceSink : public PtrInterface {
 public:
   virtual void trace( TraceRecord const & record ) = 0;
};

/// Installs a sink in place of standard error, which null restores. Returns the one that stood there, null at first.
Ptr<TraceSink> traceSinkIs( Ptr<TraceSink> const & sink );

/// A trace that is on, or nothing.
class TraceHelper {
 public:
   /// `function` is the name of the function that calls this; g++ adds the arguments of a template, __func__ does not.
   static TraceHelper
   createIfEnabled( TraceHandle const & handle, U32 level, char const * function = __builtin_FUNCTION() ) {
      return handle.isEnabled( level ) ? TraceHelper( &handle, level, function ) : TraceHelper( nullptr, 0, nullptr );
   }
   explicit operator bool() const { return handle_; }

   /// Hands the trace to the sink, unless this is nothing. `file` is the module's source name.
   void trace( char const * file, U32 line, String const & text ) const;

 private:
   TraceHelper( TraceHandle const * handle, U32 level, char const * function )
      : handle_( handle ), level_( level ), function_( function ) {}

   TraceHandle const * handle_;
   U32 level_;
   char const * function_;
};

/// Puts the text of a trace together as an output stream would: an 8-bit value is a character, an integer decimal.
/// What is streamable otherwise, such as an enumeration, goes through its own operator<<.
class TraceText {
 public:
   String const & text() const { return text_; }

   TraceText & operator<<( std::string_view text ) { return append( text ); }
   TraceText & operator<<( char character ) { return append( { &character, 1 } ); }
   TraceText & operator<<( signed char character ) { return *this << static_cast<char>( character ); }
   TraceText & operator<<( unsigned char character ) { return *this << static_cast<char>( character ); }
   TraceText & operator<<( double number ) { return append( format( "%g", number ) ); }
   template<class T>
   requires( !std::convertible_to<T const &, std::string_view> ) TraceText & operator<<( T const & value ) {
      if constexpr ( std::integral<T> )
         return append( std::to_string( +value ) );
      else
         return append( &value, []( std::ostream & out, void const * v ) { out << *static_cast<T const *>( v ); } );
   }

 private:
   TraceText & append( std::string_view text ) {
      text_ += text;
      return *this;
   }
   TraceText & append( void const * value, void ( *print )( std::ostream &, void const * ) );

   String text_;
};

}   // namespace Vor

/// Traces what is streamed, with the source found as `vorSource` by ordinary look-up at the place of use.
#define VOR_TRACE( handle, level, ... )                                                                                \
   do {                                                                                                                \
      if ( auto const vorTraceHelper = ::Vor::TraceHelper::createIfEnabled( handle, level, __func__ ) )                \
         vorTraceHelper.trace( vorSource, __LINE__, ( ::Vor::TraceText() << __VA_ARGS__ ).text() );                    \
   } while ( false )
