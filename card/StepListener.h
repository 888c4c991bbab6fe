// Those who hear the machines' steps: any number of them share the process's one step sink.
//
//    class Progress final : StepListener {
//       void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
//    };
//
// A listener hears the steps as long as it lives, after those who were there before it, a sink of the host's own too.
// None comes or goes inside a step.
#pragma once

#include "sm/Steps.h"

namespace Host {

class StepListener {
 public:
   StepListener( StepListener const & ) = delete;
   StepListener & operator=( StepListener const & ) = delete;

   /// As StepSink::step.
   virtual void onStep( Vor::Entity const & config, Hardware::Step const & step ) = 0;

 protected:
   StepListener();
   ~StepListener();
};

}   // namespace Host
