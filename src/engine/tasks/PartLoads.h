#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "engine/pump/HeldRejects.h"
#include "engine/pump/Pump.h"
#include "engine/pump/text/TextParts.h"
#include "engine/tasks/PumpInParts.h"

namespace torvik::engine {

/// The pumps of one text file into one table beside, each on a thread and a connection of its own.
class PartLoads {
 public:
  /// All must outlive it. `table` is filled by the connections, in a transaction of each that is
  /// committed at its end.
  PartLoads(TaskContext& context, const PumpJob& job, const PumpParts& parts, TextParts& text,
            HeldRejects& rejects, std::string table);
  ~PartLoads();

  /// Loads all rows, or fewer when more are rejected than may be. Throws what the first part threw
  /// that failed otherwise; all have ended then. The calling thread tells progress.
  void Run(std::span<ado::Connection* const> connections);

  /// Together, so far.
  PumpCounts Counts() const;
  /// Those that the rows fill.
  const std::vector<std::string>& Columns() const { return columns_; }

 private:
  struct Part;

  void Load(Part& part);
  void RunPart(Part& part);
  void End(Part& part, const std::exception_ptr& error);
  void Watch();
  void CancelAll();
  void Join();

  TaskContext& context_;
  const PumpJob& job_;
  const PumpParts& plan_;
  TextParts& text_;
  HeldRejects& rejects_;
  const std::string table_;
  std::vector<std::unique_ptr<Part>> parts_;
  std::atomic<bool> stopped_ = false;
  std::mutex mutex_;  // of what follows
  std::condition_variable ended_;
  std::size_t running_ = 0;
  std::exception_ptr error_;
  std::vector<std::string> columns_;
};

}  // namespace torvik::engine
