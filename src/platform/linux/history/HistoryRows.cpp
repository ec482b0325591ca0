#include "platform/linux/history/HistoryRows.h"

#include <chrono>

#include "platform/linux/history/HistoryFile.h"
#include "platform/linux/history/RunProcess.h"
#include "platform/linux/system/WhoRuns.h"

namespace torvik {
namespace {

using std::chrono::microseconds;

Moment MomentOf(std::int64_t stored) {
  return Moment(std::chrono::duration_cast<Moment::duration>(microseconds(stored)));
}

std::optional<Moment> ReadMoment(HistoryStatement& row) {
  if (!row.IsNull()) return MomentOf(row.Integer());
  row.Skip();
  return std::nullopt;
}

void ReadVariables(sqlite3* handle, RunRecord& run) {
  HistoryStatement row(handle, "SELECT name, value FROM variable WHERE run = ? ORDER BY position");
  row.Bind(run.id);
  while (row.Step()) {
    std::string name = row.Text();
    run.variables.emplace_back(std::move(name), row.Text());
  }
}

}  // namespace

std::int64_t StoredMoment(Moment moment) {
  return std::chrono::duration_cast<microseconds>(moment.time_since_epoch()).count();
}

void BindMoment(HistoryStatement& statement, const std::optional<Moment>& moment) {
  if (moment)
    statement.Bind(StoredMoment(*moment));
  else
    statement.BindNull();
}

RunRecord RunOf(HistoryStatement& row) {
  RunRecord run;
  run.id = row.Integer();
  run.job = row.Text();
  run.package = row.Text();
  run.versionGuid = row.Text();
  run.packageServer = row.Text();
  run.begin = MomentOf(row.Integer());
  run.end = ReadMoment(row);
  run.outcome = static_cast<RunOutcome>(row.Integer());
  run.rows = row.Integer();
  run.rejectedRows = row.Integer();
  run.bytes = row.Integer();
  run.failedStep = row.Text();
  run.error = row.Text();
  run.logFile = row.Text();
  run.process = static_cast<int>(row.Integer());
  run.host = row.Text();
  run.startedBy = row.Text();
  run.isAttended = row.Integer() != 0;
  run.alarms = static_cast<RaisedAlarms>(row.Integer());
  const std::int64_t start = row.Integer();
  if (run.outcome == RunOutcome::Running && run.host == HostName() &&
      IsGone({run.process, start, row.Text()})) {
    run.outcome = RunOutcome::Lost;
    if (run.error.empty()) run.error = kProcessIsGone;
  }
  return run;
}

void ReadParts(sqlite3* handle, RunRecord& run) {
  HistoryStatement steps(handle,
                         "SELECT name, begin, end, outcome, rows, rejected, attempt, error FROM "
                         "step WHERE run = ? ORDER BY position");
  steps.Bind(run.id);
  while (steps.Step()) {
    StepRecord step;
    step.step = steps.Text();
    step.begin = MomentOf(steps.Integer());
    step.end = ReadMoment(steps);
    step.outcome = static_cast<StepOutcome>(steps.Integer());
    step.rows = steps.Integer();
    step.rejectedRows = steps.Integer();
    step.attempt = static_cast<int>(steps.Integer());
    step.error = steps.Text();
    run.steps.push_back(std::move(step));
  }
  HistoryStatement fetches(handle,
                           "SELECT link, begin, end, complete, files, bytes, error FROM fetch "
                           "WHERE run = ? ORDER BY position");
  fetches.Bind(run.id);
  while (fetches.Step()) {
    FetchRecord fetch;
    fetch.link = fetches.Text();
    fetch.begin = MomentOf(fetches.Integer());
    fetch.end = ReadMoment(fetches);
    fetch.isComplete = fetches.Integer() != 0;
    fetch.files = fetches.Integer();
    fetch.bytes = fetches.Integer();
    fetch.error = fetches.Text();
    run.fetches.push_back(std::move(fetch));
  }
  if (HistoryVersion(handle) >= 2) ReadVariables(handle, run);
}

}  // namespace torvik
