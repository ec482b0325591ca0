#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "nights/NightRecord.h"
#include "nights/Slurm.h"

namespace torvik::nights {

/// Lost: it has begun, or the batch system has ended it, and it has left no verdict.
enum class StepState { Waiting, Running, Ok, Failed, Lost, Cancelled, NotReached, Disabled };

/// "waiting", "running", "ok", "failed", "lost", "cancelled", "not reached", "disabled".
const char* WordOf(StepState state);

/// What a step's job has left behind when it ended.
struct StepResult {
  bool isOk = false;
  std::string reason;  ///< Of a failure, in its own words.
  std::string begin;   ///< UTC (ISO 8601); empty where no history was kept.
  std::optional<double> seconds;
  std::int64_t rows = 0, rejectedRows = 0;
  std::string host;
};

/// From the result file of a step; nothing while it is not whole, or has no verdict.
std::optional<StepResult> StepResultOf(std::string_view text);

/// What is known of a step when it is asked for.
struct StepTraces {
  bool hasBegun = false;
  std::optional<StepResult> result;
};

struct StepStatus {
  StepState state = StepState::Waiting;
  std::string reason;  ///< Why it failed, waits, or is not reached.
  std::string nodes;   ///< Where it runs.
};

/// The state of each step, from what the steps have left (`traces`, one a step) and what the queue
/// knows of their tasks; nothing when the batch system does not answer: what has begun may run
/// then.
std::vector<StepStatus> StatusOf(const NightRecord& night, const std::vector<StepTraces>& traces,
                                 const std::optional<std::map<std::string, BatchTask>>& tasks);

/// The verdict of the whole: Failed when a step has failed, is lost or cancelled; else Running
/// while one runs or waits; else Ok.
StepState WholeOf(const std::vector<StepStatus>& steps);

}  // namespace torvik::nights
