// A log in memory: for readers of the same process, and as what the other logs are measured by. Threads: one writes,
// any number read.
//
//    Vor::MemoryLog log;      // keeps 1,000 turns for readers, of at most LogBatch::bytesMax bytes in all
//    std::unique_ptr<Vor::LogSource> const reader = log.source();
#pragma once

#include "framework/AttributeLog.h"

#include <memory>

namespace Vor {

class MemoryLog final : public TurnSink {
 public:
   explicit MemoryLog( std::size_t turnsMax = 1000 );
   ~MemoryLog() override;

   void append( LogTurn const & turn ) override;
   LogPosition end() override;
   LogPosition safe() const override;

   /// A reader of its own; it outlives the log where it must.
   std::unique_ptr<LogSource> source();

 private:
   struct Shared;
   class Source;
   std::shared_ptr<Shared> const shared_;
};

}   // namespace Vor
