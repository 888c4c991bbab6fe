#include "service/AgentStatus.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Host {

namespace {

Vor::Module const agentModule( "Agent", []( Vor::Module & module ) { module.typesAdd<AgentStatus, ChipProgress>(); } );

}   // namespace

Vor::Type const & AgentStatus::staticType() { return Vor::typeOf<AgentStatus, "Host::AgentStatus">(); }
Vor::Type const & ChipProgress::staticType() { return Vor::typeOf<ChipProgress, "Host::ChipProgress">(); }

void ChipProgress::gateIs( Vor::String const & condition, Vor::String const & value ) {
   if ( gate_.has( condition ) && gate_.value( condition ) == value ) return;
   gate_.valueIs( condition, value );
   attributeNotify<"gate">( condition );
}

void ChipProgress::gateDel( Vor::String const & condition ) {
   if ( !gate_.has( condition ) ) return;
   gate_.valueDel( condition );
   attributeNotify<"gate">( condition );
}

}   // namespace Host
