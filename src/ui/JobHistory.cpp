#include "ui/JobHistory.h"

#include <algorithm>

#include "history/RunJson.h"
#include "platform/PlatformError.h"

namespace torvik {

void JobHistory::Read(const std::string& jobFile) {
  runs_.clear();
  std::string trouble;
  try {
    RunFilter filter;
    filter.job = jobFile;
    filter.limit = kMostRuns;
    if (!jobFile.empty()) runs_ = history_.Runs(filter);
  } catch (const PlatformError& error) {
    trouble = "The history cannot be read: " + error.Description();
  }
  if (trouble.empty() && runs_.empty())
    trouble = jobFile.empty() ? "A job has a history once it is saved"
                              : "The history has no run of this job yet";
  Trouble.Set(trouble);
  std::vector<std::int64_t> ids;
  for (const RunRecord& run : runs_) ids.push_back(run.id);
  Ids.Set({});  // the same runs may have ended meanwhile
  Ids.Set(std::move(ids));
}

std::optional<RunRecord> JobHistory::LastRun(const std::string& jobFile) {
  try {
    RunFilter filter;
    filter.job = jobFile;
    filter.limit = 1;
    const auto runs = history_.Runs(filter);
    return runs.empty() ? std::nullopt : std::optional(runs.front());
  } catch (const PlatformError&) {
    return std::nullopt;
  }
}

std::optional<RunRecord> JobHistory::Run(std::int64_t id) {
  try {
    return history_.Run(id);
  } catch (const PlatformError& error) {
    Trouble.Set("The history cannot be read: " + error.Description());
    return std::nullopt;
  }
}

std::optional<double> JobHistory::UsualSeconds() const {
  constexpr std::size_t kEnough = 3;
  std::vector<double> seconds;
  for (const RunRecord& run : runs_)
    if (run.outcome == RunOutcome::Ok) seconds.push_back(RunSeconds(run).value_or(0));
  if (seconds.size() < kEnough) return std::nullopt;
  std::ranges::sort(seconds);
  return seconds[seconds.size() / 2];
}

bool JobHistory::IsSlow(const RunRecord& run) const {
  const auto seconds = RunSeconds(run), usual = UsualSeconds();
  return seconds && usual && *seconds > 2 * *usual;
}

std::optional<double> RunSeconds(const RunRecord& run) {
  if (!run.end) return std::nullopt;
  return std::chrono::duration<double>(*run.end - run.begin).count();
}

const char* VerdictWord(RunOutcome outcome) {
  return WordOf(outcome);
}

}  // namespace torvik
