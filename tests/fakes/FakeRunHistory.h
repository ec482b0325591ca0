#pragma once

#include <algorithm>
#include <set>
#include <vector>

#include "platform/PlatformError.h"
#include "platform/RunHistory.h"

namespace torvik {

/// Keeps runs in memory, the earliest first.
struct FakeRunHistory : RunHistory {
  std::vector<RunRecord> runs;
  std::string failure;      ///< What writers answer.
  bool unreadable = false;  ///< Whoever reads fails.
  std::set<std::int64_t> sent;

  std::string Write(RunRecord& run) override {
    if (run.id == 0) {
      run.id = static_cast<std::int64_t>(runs.size()) + 1;
      runs.push_back(run);
    }
    runs.at(static_cast<std::size_t>(run.id - 1)) = run;
    return failure;
  }
  std::vector<RunRecord> Runs(const RunFilter& filter) override {
    RequireReadable();
    std::vector<RunRecord> found;
    for (const RunRecord& run : runs)
      if (filter.job.empty() || filter.job == run.job) found.insert(found.begin(), run);
    return found;
  }
  std::optional<RunRecord> Run(std::int64_t id) override {
    RequireReadable();
    for (const RunRecord& run : runs)
      if (run.id == id) return run;
    return {};
  }
  std::vector<RunRecord> Unannounced() override {
    RequireReadable();
    std::vector<RunRecord> found;
    for (const RunRecord& run : runs)
      if (run.outcome != RunOutcome::Running && run.alarms != kAllAlarms) found.push_back(run);
    return found;
  }
  std::string NoteAlarms(std::int64_t id, RaisedAlarms raised) override {
    runs.at(static_cast<std::size_t>(id - 1)).alarms = raised;
    return failure;
  }
  std::vector<RunRecord> Unsent(std::int64_t after, std::size_t most) override {
    RequireReadable();
    std::vector<RunRecord> found;
    for (const RunRecord& run : runs)
      if (run.id > after && run.outcome != RunOutcome::Running && !sent.contains(run.id) &&
          found.size() < most)
        found.push_back(run);
    return found;
  }
  std::string NoteSent(std::int64_t id) override {
    sent.insert(id);
    return failure;
  }

 private:
  void RequireReadable() const {
    if (unreadable) throw PlatformError(0, "the history is damaged", "fake");
  }
};

}  // namespace torvik
