#include "sim/CardEvents.h"

namespace Sim {

namespace {

CardEvents * living = nullptr;   // an assertion hook carries no data

struct TraceTap final : Vor::TraceSink {
   explicit TraceTap( CardEvents & events ) : events( events ) {}
   void trace( Vor::TraceRecord const & record ) override { events.tell( &CardListener::onTrace, record ); }
   CardEvents & events;
};

struct LogTap final : Vor::LogSink {
   explicit LogTap( CardEvents & events ) : events( events ) {}
   void log( Vor::LogRecord const & record ) override { events.tell( &CardListener::onLog, record ); }
   CardEvents & events;
};

}   // namespace

CardEvents::CardEvents( Vor::Ptr<VirtualClock> clock ) : clock_( std::move( clock ) ) {
   VOR_ASSERT( !living );
   living = this;
   if ( clock_ ) clock_->sleepObserverIs( [this]( U64 forNs ) { tell( &CardListener::onSleep, forNs ); } );
   outerTraceSink_ = Vor::traceSinkIs( new TraceTap( *this ) );
   outerLogSink_ = Vor::logSinkIs( new LogTap( *this ) );
   outerAssertionHook_ = Vor::assertionHookIs( []( Vor::AssertionFailure const & failure ) {
      living->tell( &CardListener::onAbort, failure );
      if ( living->outerAssertionHook_ ) living->outerAssertionHook_( failure );
   } );
}

CardEvents::~CardEvents() {
   statusesDel();
   for ( SimulatedCard * card : cards_ ) {
      card->spiObserverIs( nullptr );
      card->unclaimedObserverIs( nullptr );
   }
   Vor::assertionHookIs( outerAssertionHook_ );
   Vor::logSinkIs( outerLogSink_ );
   Vor::traceSinkIs( outerTraceSink_ );
   if ( clock_ ) clock_->sleepObserverIs( nullptr );
   living = nullptr;
}

void CardEvents::cardAdd( SimulatedCard & card ) {
   cards_.push_back( &card );
   card.spiObserverIs( [this]( std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) {
      tell( &CardListener::onSpi, chip, bytes, response );
   } );
   card.unclaimedObserverIs(
      [this]( U32 address, AccessDirection direction ) { tell( &CardListener::onUnclaimed, address, direction ); } );
}

void CardEvents::statusesDel() {
   for ( auto const & watch : watches_ ) watch->notifierIs( nullptr );
   watches_.clear();
}

void CardEvents::sleepsAdd() {
   sleeps_.emplace( [this]( U64 forNs ) { tell( &CardListener::onSleep, forNs ); } );
}

std::string unclaimedText( U32 address, AccessDirection direction ) {
   bool const isRead = direction == AccessDirection::read_;
   return Vor::format(
             "%s 0x%x, where the card has no register: %s", isRead ? "read of" : "write to", address,
             isRead ? "it gives 0" : "it is lost" )
      .stdString();
}

}   // namespace Sim
