// The supervisor that stands by: it has no machines and does not open the card, but mirrors what the active one
// publishes, until whoever decides who is active makes it so.
//
//    Standby standby( options );
//    if ( std::optional<TakeOver> const order = standby.run() ) ...      // take over, of that generation
#pragma once

#include "framework/Mirror.h"
#include "input/Json.h"
#include "service/AgentOptions.h"
#include "service/ControlSocket.h"
#include "service/PollSet.h"
#include "service/ServiceManager.h"
#include "service/StopSignals.h"

#include <memory>
#include <optional>
#include <string>

namespace Host {

struct TakeOver {
   U32 generation = 0;
   Vor::LogBatch published;   ///< what the active one published last
};

class Standby {
 public:
   /// State and socket are told. Throws Input::InputError for a place that is none. The manager outlives it.
   Standby( AgentOptions const & options, ServiceManager & manager );

   /// Until it is to be active, or a signal stops it, which gives nothing.
   std::optional<TakeOver> run();
   /// Whether the card description is to be read again before it takes over.
   bool reloadAsked() const { return reloadAsked_; }

 private:
   void follow();
   Input::Json answer( Input::Json const & request );

   ServiceManager & manager_;
   std::string const place_;
   PollSet pollSet_;
   StopSignals signals_;
   std::unique_ptr<Vor::LogSource> source_;
   Vor::LogPosition at_;
   bool following_ = false;   // the mirror has what stands at that position
   std::string trouble_;
   Vor::Mirror mirror_;
   std::optional<U32> generation_;   // to take over with
   bool reloadAsked_ = false;
   ControlSocket control_;
};

}   // namespace Host
