#include "alarms/DueAlarms.h"

namespace torvik {

bool HasFailed(const RunRecord& run) {
  return run.outcome == RunOutcome::Failure || run.outcome == RunOutcome::Lost;
}

bool HasEnded(const RunRecord& run) {
  return run.outcome != RunOutcome::Running;
}

std::size_t FailuresBefore(const std::vector<RunRecord>& runs, std::int64_t id) {
  std::size_t failures = 0;
  for (const RunRecord& run : runs) {
    if ((id != 0 && run.id >= id) || !HasEnded(run)) continue;
    if (!HasFailed(run)) break;
    ++failures;
  }
  return failures;
}

RunChange ChangeBy(const RunRecord& run, const std::vector<RunRecord>& runs) {
  bool hadFailed = false;
  for (const RunRecord& other : runs) {
    if ((run.id != 0 && other.id >= run.id) || !HasEnded(other) || other.isAttended) continue;
    hadFailed = HasFailed(other);
    break;
  }
  if (HasFailed(run) == hadFailed) return RunChange::None;
  return hadFailed ? RunChange::Recovered : RunChange::Failed;
}

bool IsAmong(NotifyOn ends, const RunRecord& run, RunChange change) {
  switch (ends) {
    case NotifyOn::Failure: return HasFailed(run);
    case NotifyOn::Change: return change != RunChange::None;
    case NotifyOn::Always: break;
  }
  return true;
}

}  // namespace torvik
