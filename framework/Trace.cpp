#include "framework/Trace.h"

#include "framework/ActivityManager.h"
#include "framework/Exception.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>

namespace Vor {

namespace {

/// What hosts asked of a facility by name; it outlives the handles, for those that come later.
struct Setting {
   String facility;
   U32 enabled;
};

// There before any dynamic initialiser and after every destructor of the libraries and programs that use them.
constinit std::vector<TraceHandle *> handles;
constinit std::vector<Setting> settings;
constinit Ptr<TraceSink> installedSink;

void requireLevel( U32 level ) {
   if ( level >= traceLevels )
      throw RangeException( format( "trace level: expected 0 to %u, found %u", traceLevels - 1, level ) );
}

void toStandardError( TraceRecord const & record ) {
   std::string const place =
      format( "%s:%u %s", record.source, static_cast<unsigned>( record.line ), record.function ).stdString();
   std::fprintf(
      stderr, "%14.6f %-24s %2u %-44s %s\n", activityManager().config().clock()->now(), record.facility,
      static_cast<unsigned>( record.level ), place.c_str(), oneLine( record.text ).charPtr() );
}

}   // namespace

TraceHandle::TraceHandle( char const * facility ) : facility_( facility ) {
   for ( Setting const & setting : settings )
      if ( setting.facility == facility_ ) enabled_.store( setting.enabled, std::memory_order_relaxed );
   handles.push_back( this );
}

TraceHandle::~TraceHandle() { std::erase( handles, this ); }

void TraceHandle::levelIs( U32 level, bool enabled ) {
   requireLevel( level );
   U32 const bit = U32( 1 ) << level;
   if ( enabled )
      enabled_.fetch_or( bit, std::memory_order_relaxed );
   else
      enabled_.fetch_and( ~bit, std::memory_order_relaxed );
}

void traceLevelIs( String const & facility, U32 level, bool enabled ) {
   requireLevel( level );
   auto setting = std::ranges::find( settings, facility, &Setting::facility );
   if ( setting == settings.end() ) setting = settings.insert( settings.end(), Setting{ facility, 0 } );
   U32 const bit = U32( 1 ) << level;
   setting->enabled = enabled ? setting->enabled | bit : setting->enabled & ~bit;
   for ( TraceHandle * handle : handles )
      if ( handle->facility() == facility ) handle->levelIs( level, enabled );
}

std::vector<String> traceFacilities() {
   std::set<String> names;
   for ( TraceHandle const * handle : handles ) names.insert( handle->facility() );
   return { names.begin(), names.end() };
}

Ptr<TraceSink> traceSinkIs( Ptr<TraceSink> const & sink ) { return std::exchange( installedSink, sink ); }

void TraceHelper::trace( char const * file, U32 line, String const & text ) const {
   if ( !handle_ ) return;
   TraceRecord const record{ handle_->facility().charPtr(), level_, file, function_, line, text };
   if ( Ptr<TraceSink> const sink = installedSink )
      sink->trace( record );
   else
      toStandardError( record );
}

TraceText & TraceText::append( void const * value, void ( *print )( std::ostream &, void const * ) ) {
   std::ostringstream out;
   print( out, value );
   return append( out.str() );
}

}   // namespace Vor
