#include "card/StepListener.h"

#include <vector>

namespace Host {

namespace {

constinit std::vector<StepListener *> listeners;

class SharedSink final : public Hardware::StepSink {
 public:
   explicit SharedSink( Vor::Ptr<StepSink> outer ) : outer_( std::move( outer ) ) {}
   void step( Vor::Entity const & config, Hardware::Step const & step ) override {
      if ( outer_ ) outer_->step( config, step );
      for ( StepListener * listener : listeners ) listener->onStep( config, step );
   }
   Vor::Ptr<StepSink> const & outer() const { return outer_; }

 private:
   Vor::Ptr<StepSink> const outer_;
};

constinit Vor::Ptr<SharedSink> shared;

}   // namespace

StepListener::StepListener() {
   if ( listeners.empty() ) {
      shared = new SharedSink( Hardware::stepSinkIs( nullptr ) );
      Hardware::stepSinkIs( shared );
   }
   listeners.push_back( this );
}

StepListener::~StepListener() {
   std::erase( listeners, this );
   if ( !listeners.empty() ) return;
   Hardware::stepSinkIs( shared->outer() );
   shared = nullptr;
}

}   // namespace Host
