#include "history/RunJson.h"

#include <ctime>
#include <nlohmann/json.hpp>
#include <optional>

namespace torvik {
namespace {

using RecordJson = nlohmann::ordered_json;

RecordJson UtcOrNull(const std::optional<Moment>& moment) {
  return moment ? RecordJson(UtcText(*moment)) : RecordJson();
}

RecordJson SecondsOrNull(Moment begin, const std::optional<Moment>& end) {
  if (!end) return {};
  return std::chrono::duration<double>(*end - begin).count();
}

RecordJson JsonOfSteps(const RunRecord& run) {
  RecordJson steps = RecordJson::array();
  for (const StepRecord& step : run.steps)
    steps.push_back({{"step", step.step},
                     {"attempt", step.attempt},
                     {"outcome", WordOf(step.outcome)},
                     {"begin", UtcText(step.begin)},
                     {"end", UtcOrNull(step.end)},
                     {"seconds", SecondsOrNull(step.begin, step.end)},
                     {"rows", step.rows},
                     {"rejected_rows", step.rejectedRows},
                     {"error", step.error}});
  return steps;
}

RecordJson JsonOfVariables(const RunRecord& run) {
  RecordJson variables = RecordJson::object();
  for (const auto& [name, value] : run.variables) variables[name] = value;
  return variables;
}

RecordJson JsonOfFetches(const RunRecord& run) {
  RecordJson fetches = RecordJson::array();
  for (const FetchRecord& fetch : run.fetches)
    fetches.push_back({{"link", fetch.link},
                       {"complete", fetch.isComplete},
                       {"begin", UtcText(fetch.begin)},
                       {"end", UtcOrNull(fetch.end)},
                       {"files", fetch.files},
                       {"bytes", fetch.bytes},
                       {"error", fetch.error}});
  return fetches;
}

}  // namespace

std::string UtcText(Moment moment) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
  std::tm time{};
  gmtime_r(&seconds, &time);
  char text[40];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &time)};
}

const char* WordOf(RunOutcome outcome) {
  switch (outcome) {
    case RunOutcome::Running: return "running";
    case RunOutcome::Ok: return "ok";
    case RunOutcome::Failure: return "failure";
    case RunOutcome::Lost: break;
  }
  return "lost";
}

const char* WordOf(StepOutcome outcome) {
  switch (outcome) {
    case StepOutcome::Running: return "running";
    case StepOutcome::Ok: return "ok";
    case StepOutcome::Failure: break;
  }
  return "failure";
}

nlohmann::ordered_json JsonOf(const RunRecord& run, bool withParts) {
  RecordJson json = {{"id", run.id},
                     {"job", run.job},
                     {"package", run.package},
                     {"version", run.versionGuid},
                     {"server", run.packageServer},
                     {"outcome", WordOf(run.outcome)},
                     {"begin", UtcText(run.begin)},
                     {"end", UtcOrNull(run.end)},
                     {"seconds", SecondsOrNull(run.begin, run.end)},
                     {"rows", run.rows},
                     {"rejected_rows", run.rejectedRows},
                     {"bytes", run.bytes},
                     {"failed_step", run.failedStep},
                     {"error", run.error},
                     {"log", run.logFile},
                     {"process", run.process},
                     {"host", run.host},
                     {"started_by", run.startedBy}};
  if (withParts) {
    json["variables"] = JsonOfVariables(run);
    json["steps"] = JsonOfSteps(run);
    json["fetches"] = JsonOfFetches(run);
  }
  return json;
}

}  // namespace torvik
