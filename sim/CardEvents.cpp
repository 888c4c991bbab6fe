#include "sim/CardEvents.h"

namespace Sim {

namespace {

constexpr char vorSource[] = "CardEvents";

CardEvents * living = nullptr;   // an assertion hook carries no data

}   // namespace

CardEvents::CardEvents( Vor::Ptr<VirtualClock> clock ) : clock_( std::move( clock ) ) {
   VOR_ASSERT( !living );
   living = this;
   clock_->sleepObserverIs( this );
   outerTraceSink_ = Vor::traceSinkIs( new TraceTap( *this ) );
   outerLogSink_ = Vor::logSinkIs( new LogTap( *this ) );
   outerAssertionHook_ = Vor::assertionHookIs( &CardEvents::tellAbort );
}

CardEvents::~CardEvents() {
   for ( auto const & watch : watches_ ) watch->notifierIs( nullptr );
   for ( SimulatedCard * card : cards_ ) {
      card->spiObserverIs( nullptr );
      card->unclaimedObserverIs( nullptr );
   }
   Vor::assertionHookIs( outerAssertionHook_ );
   Vor::logSinkIs( outerLogSink_ );
   Vor::traceSinkIs( outerTraceSink_ );
   clock_->sleepObserverIs( nullptr );
   living = nullptr;
}

void CardEvents::cardAdd( SimulatedCard & card ) {
   cards_.push_back( &card );
   card.spiObserverIs( this );
   card.unclaimedObserverIs( this );
}

void CardEvents::tellGpo( std::string_view name, bool active ) {
   for ( CardListener * listener : listeners_ ) listener->onGpo( clock_->nowNs(), name, active );
}

void CardEvents::tellScenario( std::string_view what ) {
   for ( CardListener * listener : listeners_ ) listener->onScenario( clock_->nowNs(), what );
}

void CardEvents::tellState( Vor::Entity const & entity, std::string_view attr, U32 value, char const * text ) {
   Vor::String const fullName = entity.fullName();
   StateChange const change{ .entity = fullName, .attr = attr, .value = value, .text = text ? text : "" };
   for ( CardListener * listener : listeners_ ) listener->onState( clock_->nowNs(), change );
}

void CardEvents::tellAbort( Vor::AssertionFailure const & failure ) {
   for ( CardListener * listener : living->listeners_ ) listener->onAbort( living->clock_->nowNs(), failure );
   if ( living->outerAssertionHook_ ) living->outerAssertionHook_( failure );
}

void CardEvents::TraceTap::trace( Vor::TraceRecord const & record ) {
   for ( CardListener * listener : events_.listeners_ ) listener->onTrace( events_.clock_->nowNs(), record );
}

void CardEvents::LogTap::log( Vor::LogRecord const & record ) {
   for ( CardListener * listener : events_.listeners_ ) listener->onLog( events_.clock_->nowNs(), record.id );
}

void CardEvents::onSleep( U64 forNs ) {
   for ( CardListener * listener : listeners_ ) listener->onSleep( clock_->nowNs(), forNs );
}

void CardEvents::onSpi( std::string_view chip, Bytes const & bytes, U8 response ) {
   for ( CardListener * listener : listeners_ ) listener->onSpi( clock_->nowNs(), chip, bytes, response );
}

void CardEvents::onUnclaimed( U32 address, AccessDirection direction ) {
   for ( CardListener * listener : listeners_ ) listener->onUnclaimed( clock_->nowNs(), address, direction );
}

}   // namespace Sim
