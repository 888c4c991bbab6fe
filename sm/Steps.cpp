#include "sm/Steps.h"

namespace Hardware {

namespace {

constinit Vor::Ptr<StepSink> installedSink;

// Comes before all who watch the record for its own sake: those wait for the observers of any entity.
class TellOnce final : public Vor::EntityObserver {
 public:
   TellOnce( Vor::Entity const & record, std::function<void()> tell ) : tell_( std::move( tell ) ) {
      vorAttach( Vor::Ptr<Vor::Entity const>( &record ) );
   }
   void onAttribute( Vor::Entity const &, Vor::Attribute const &, Vor::Value const & ) override {
      if ( auto const tell = std::exchange( tell_, nullptr ) ) tell();
   }

 private:
   std::function<void()> tell_;
};

}   // namespace

constinit std::atomic<bool> Detail::stepSinkSet{ false };

void Detail::tellStep( Vor::Entity const & config, Step const & step ) {
   if ( Vor::Ptr<StepSink> const sink = installedSink ) sink->step( config, step );
}

void Detail::tellOnce( Vor::Entity const & record, std::function<void()> const & set, std::function<void()> tell ) {
   Vor::Ptr<TellOnce> const told = new TellOnce( record, std::move( tell ) );
   set();
}

Vor::Ptr<StepSink> stepSinkIs( Vor::Ptr<StepSink> const & sink ) {
   Detail::stepSinkSet.store( bool( sink ), std::memory_order_relaxed );
   return std::exchange( installedSink, sink );
}

}   // namespace Hardware
