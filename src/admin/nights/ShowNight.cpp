#include <map>

#include "admin/common/RunTexts.h"
#include "admin/common/Secrets.h"
#include "admin/nights/BatchNights.h"
#include "admin/nights/NightDirectory.h"
#include "nights/Slurm.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

using nights::StepState;

/// The rows of the jobs that run, by their names; none where the history cannot be read.
std::map<std::string, std::int64_t> RowsSoFar(LinuxPlatform& platform) try {
  std::map<std::string, std::int64_t> rows;
  RunFilter filter;
  filter.runningOnly = true;
  for (const RunRecord& run : platform.history->Runs(filter)) rows[JobNameOf(run)] = run.rows;
  return rows;
} catch (const PlatformError&) {
  return {};
}

/// Where the history is this machine's as well, how far a job is that runs.
void AddProgress(LinuxPlatform& platform, NightNow& now) {
  const std::map<std::string, std::int64_t> rows = RowsSoFar(platform);
  for (std::size_t i = 0; i < now.statuses.size(); ++i) {
    if (now.statuses[i].state != StepState::Running) continue;
    RunRecord named;
    named.job = now.record.steps[i].job;
    if (const auto found = rows.find(JobNameOf(named)); found != rows.end() && found->second > 0)
      now.statuses[i].reason = Grouped(found->second) + " rows so far";
  }
}

std::string Summary(const NightNow& now) {
  std::map<StepState, int> counts;
  for (const nights::StepStatus& status : now.statuses) ++counts[status.state];
  std::string text;
  for (const auto& [state, count] : counts)
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + nights::WordOf(state);
  return "night " + std::to_string(now.directory.number) + " of " + now.record.package + ": " +
         (text.empty() ? "no steps" : text);
}

Json JsonOfStep(const NightNow& now, std::size_t i) {
  const nights::SubmittedStep& step = now.record.steps[i];
  Json json = {{"step", step.name},
               {"job", step.job},
               {"state", nights::WordOf(now.statuses[i].state)},
               {"reason", now.statuses[i].reason},
               {"slurm_task", step.task},
               {"node", now.statuses[i].nodes}};
  if (const auto& result = now.traces[i].result) {
    json["begin"] = result->begin;
    json["seconds"] = result->seconds ? Json(*result->seconds) : Json();
    json["rows"] = result->rows;
    json["rejected_rows"] = result->rejectedRows;
  }
  return json;
}

JsonRow RowOf(const NightNow& now, std::size_t i) {
  const auto& result = now.traces[i].result;
  const bool isKnown = result && result->seconds;
  return {now.record.steps[i].name,
          nights::WordOf(now.statuses[i].state),
          isKnown ? DurationText(*result->seconds) : "",
          result && result->rows > 0 ? Grouped(result->rows) : "",
          now.statuses[i].nodes,
          now.statuses[i].reason};
}

int ExitCodeOf(StepState whole) {
  return whole == StepState::Ok ? 0 : whole == StepState::Failed ? 1 : 3;
}

}  // namespace

int ShowNight(LinuxPlatform& platform, const Invocation& invocation, int night) {
  std::string silence;
  NightNow now = LookAtNight(platform, night, &silence);
  if (!silence.empty()) Warn(silence + "; of what has not ended no more is known");
  AddProgress(platform, now);
  const StepState whole = nights::WholeOf(now.statuses);
  if (invocation.json) {
    Json steps = Json::array();
    for (std::size_t i = 0; i < now.statuses.size(); ++i) steps.push_back(JsonOfStep(now, i));
    PrintResult({{"night", now.directory.number},
                 {"package", now.record.package},
                 {"submitted", now.record.submitted},
                 {"state", nights::WordOf(whole)},
                 {"directory", now.directory.path},
                 {"steps", steps}},
                "", true);
    return ExitCodeOf(whole);
  }
  std::vector<JsonRow> rows;
  for (std::size_t i = 0; i < now.statuses.size(); ++i) rows.push_back(RowOf(now, i));
  PrintRows({"step", "state", "took", "rows", "node", "reason"}, rows, false);
  PrintResult({}, Summary(now), false);
  return ExitCodeOf(whole);
}

int CancelNight(LinuxPlatform& platform, const Invocation& invocation, int night) {
  const NightDirectory directory = FindNightDirectory(platform, night);
  nights::Slurm(*platform.processes).Cancel(ReadNightRecord(platform, directory).jobs);
  const std::string number = std::to_string(directory.number);
  PrintResult({{"night", directory.number}},
              "night " + number +
                  ": what waits is taken out of the queue, and what runs ends "
                  "behind its steps; torvik-admin night status " +
                  number + " tells when",
              invocation.json);
  return 0;
}

}  // namespace torvik::admin
