#pragma once

#include <cstddef>
#include <vector>

#include "platform/AlarmSettings.h"
#include "platform/RunHistory.h"

namespace torvik {

/// What the end of a run is to whoever waits for it.
enum class RunChange {
  None,
  Failed,    ///< The first failure: before it the job succeeded, or never ran.
  Recovered  ///< The first success behind failures.
};

/// A run of which it is certain that it did not succeed. One without a verdict did not.
bool HasFailed(const RunRecord& run);
bool HasEnded(const RunRecord& run);

/// How many runs of the job have failed one after the other before the run `id`; 0 stands for one
/// that is not among them, the latest. `runs` are those of one job, the latest first; those that
/// still run do not count.
std::size_t FailuresBefore(const std::vector<RunRecord>& runs, std::int64_t id);

/// What `run` changes. Runs from the form do not count: whoever started them has seen their ends,
/// and others wait for what the schedule does.
RunChange ChangeBy(const RunRecord& run, const std::vector<RunRecord>& runs);

/// Whether the end of a run is among those at which a program is started.
bool IsAmong(NotifyOn ends, const RunRecord& run, RunChange change);

}  // namespace torvik
