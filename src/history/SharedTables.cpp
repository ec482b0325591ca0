#include "history/SharedTables.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "history/RunJson.h"
#include "platform/MomentText.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using std::chrono::milliseconds;

/// Texts without a length are as long as the server takes them.
ado::Column Text(const char* name, int size = 0) {
  ado::Column column;
  column.name = name;
  column.size = size;
  column.unit = ado::TextUnit::Utf16;
  return column;
}

ado::Column Number(const char* name) {
  ado::Column column;
  column.name = name;
  column.kind = ado::ColumnKind::Integer;
  column.size = 8;
  return column;
}

ado::Column Time(const char* name) {
  ado::Column column;
  column.name = name;
  column.kind = ado::ColumnKind::DateTime;
  return column;
}

ado::Column Key(ado::Column column, int position) {
  column.keyPosition = position;
  column.nullable = false;
  return column;
}

/// Words of other programs may hold what no server takes in a text.
std::string Storable(std::string_view text) {
  std::string storable = AsValidUtf8(text);
  std::ranges::replace(storable, '\0', ' ');
  return storable;
}

ado::Value TimeOrNull(const std::optional<Moment>& moment) {
  return moment ? ado::Value(MomentText(*moment)) : ado::Value(ado::Null());
}

std::int64_t IntegerOf(const ado::Value& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  if (const auto* real = std::get_if<double>(&value)) return std::llround(*real);
  return NumberOf<std::int64_t>(ado::TextIn(value)).value_or(0);
}

Moment MomentOf(const std::string& text) {
  if (const auto moment = MomentOfText(text)) return *moment;
  throw PlatformError(0, "the shared history holds the time \"" + text + "\", which is none",
                      "history");
}

std::optional<Moment> OptionalMoment(const ado::Value& value) {
  if (std::holds_alternative<ado::Null>(value)) return std::nullopt;
  return MomentOf(ado::TextIn(value));
}

template <class Outcome>
Outcome OutcomeOf(std::string_view word, std::initializer_list<Outcome> known, Outcome otherwise) {
  for (const Outcome outcome : known)
    if (word == WordOf(outcome)) return outcome;
  return otherwise;
}

template <class Parts, class Row>
std::vector<SharedRow> RowsOf(const RunRecord& run, const Parts& parts, const Row& rest) {
  std::vector<SharedRow> rows;
  const std::string key = SharedKey(run);
  for (const auto& part : parts) {
    SharedRow row = {key, static_cast<std::int64_t>(rows.size())};
    for (ado::Value& value : rest(part)) row.push_back(std::move(value));
    rows.push_back(std::move(row));
  }
  return rows;
}

constexpr int kLongestKey = 300, kLongestHost = 255, kLongestJobName = 260, kLongestWord = 20;

}  // namespace

SharedTable SharedRuns() {
  return {"torvik_run",
          {Key(Text("id", kLongestKey), 1),
           Text("host", kLongestHost),
           Number("run"),
           Text("job"),
           Text("job_name", kLongestJobName),
           Text("package"),
           Text("version"),
           Text("server"),
           Time("begin_utc"),
           Time("end_utc"),
           Text("outcome", kLongestWord),
           Number("row_count"),
           Number("rejected_count"),
           Number("byte_count"),
           Text("failed_step"),
           Text("error"),
           Text("log"),
           Number("process"),
           Text("started_by"),
           Number("attended")}};
}

SharedTable SharedSteps() {
  return {"torvik_run_step",
          {Key(Text("run_id", kLongestKey), 1), Key(Number("position"), 2), Text("step"),
           Time("begin_utc"), Time("end_utc"), Text("outcome", kLongestWord), Number("row_count"),
           Number("rejected_count"), Number("attempt"), Text("error")}};
}

SharedTable SharedFetches() {
  return {"torvik_run_fetch",
          {Key(Text("run_id", kLongestKey), 1), Key(Number("position"), 2), Text("link"),
           Time("begin_utc"), Time("end_utc"), Number("complete"), Number("file_count"),
           Number("byte_count"), Text("error")}};
}

SharedTable SharedVariables() {
  return {"torvik_run_variable",
          {Key(Text("run_id", kLongestKey), 1), Key(Number("position"), 2), Text("name"),
           Text("value")}};
}

std::string SharedKey(const RunRecord& run) {
  return run.host + "/" + std::to_string(run.id) + "/" + MomentText(run.begin, 'T');
}

std::string SharedJobName(const std::string& job) {
  std::string name = LowerAscii(job.substr(job.find_last_of("/\\") + 1));
  if (name.ends_with(".etl")) name.resize(name.size() - 4);
  return std::string(FirstCharacters(name, kLongestJobName));
}

SharedRow RowOfRun(const RunRecord& run) {
  return {SharedKey(run),
          run.host,
          run.id,
          Storable(run.job),
          SharedJobName(run.job),
          Storable(run.package),
          run.versionGuid,
          run.packageServer,
          MomentText(run.begin),
          TimeOrNull(run.end),
          std::string(WordOf(run.outcome)),
          run.rows,
          run.rejectedRows,
          run.bytes,
          Storable(run.failedStep),
          Storable(run.error),
          Storable(run.logFile),
          std::int64_t{run.process},
          Storable(run.startedBy),
          std::int64_t{run.isAttended}};
}

std::vector<SharedRow> RowsOfSteps(const RunRecord& run) {
  return RowsOf(run, run.steps, [](const StepRecord& step) {
    return SharedRow{Storable(step.step),
                     MomentText(step.begin),
                     TimeOrNull(step.end),
                     std::string(WordOf(step.outcome)),
                     step.rows,
                     step.rejectedRows,
                     std::int64_t{step.attempt},
                     Storable(step.error)};
  });
}

std::vector<SharedRow> RowsOfFetches(const RunRecord& run) {
  return RowsOf(run, run.fetches, [](const FetchRecord& fetch) {
    return SharedRow{Storable(fetch.link),  MomentText(fetch.begin),
                     TimeOrNull(fetch.end), std::int64_t{fetch.isComplete},
                     fetch.files,           fetch.bytes,
                     Storable(fetch.error)};
  });
}

std::vector<SharedRow> RowsOfVariables(const RunRecord& run) {
  return RowsOf(run, run.variables, [](const auto& variable) {
    return SharedRow{Storable(variable.first), Storable(variable.second)};
  });
}

RunRecord RunOfRow(const ado::Recordset& row) {
  RunRecord run;
  run.id = IntegerOf(row.Field("run"));
  run.host = ado::TextIn(row.Field("host"));
  run.job = ado::TextIn(row.Field("job"));
  run.package = ado::TextIn(row.Field("package"));
  run.versionGuid = ado::TextIn(row.Field("version"));
  run.packageServer = ado::TextIn(row.Field("server"));
  run.begin = MomentOf(ado::TextIn(row.Field("begin_utc")));
  run.end = OptionalMoment(row.Field("end_utc"));
  run.outcome = OutcomeOf(ado::TextIn(row.Field("outcome")), {RunOutcome::Ok, RunOutcome::Failure},
                          RunOutcome::Lost);
  run.rows = IntegerOf(row.Field("row_count"));
  run.rejectedRows = IntegerOf(row.Field("rejected_count"));
  run.bytes = IntegerOf(row.Field("byte_count"));
  run.failedStep = ado::TextIn(row.Field("failed_step"));
  run.error = ado::TextIn(row.Field("error"));
  run.logFile = ado::TextIn(row.Field("log"));
  run.process = static_cast<int>(IntegerOf(row.Field("process")));
  run.startedBy = ado::TextIn(row.Field("started_by"));
  run.isAttended = IntegerOf(row.Field("attended")) != 0;
  return run;
}

StepRecord StepOfRow(const ado::Recordset& row) {
  StepRecord step;
  step.step = ado::TextIn(row.Field("step"));
  step.begin = MomentOf(ado::TextIn(row.Field("begin_utc")));
  step.end = OptionalMoment(row.Field("end_utc"));
  step.outcome = OutcomeOf(ado::TextIn(row.Field("outcome")),
                           {StepOutcome::Running, StepOutcome::Ok}, StepOutcome::Failure);
  step.rows = IntegerOf(row.Field("row_count"));
  step.rejectedRows = IntegerOf(row.Field("rejected_count"));
  step.attempt = static_cast<int>(IntegerOf(row.Field("attempt")));
  step.error = ado::TextIn(row.Field("error"));
  return step;
}

FetchRecord FetchOfRow(const ado::Recordset& row) {
  FetchRecord fetch;
  fetch.link = ado::TextIn(row.Field("link"));
  fetch.begin = MomentOf(ado::TextIn(row.Field("begin_utc")));
  fetch.end = OptionalMoment(row.Field("end_utc"));
  fetch.isComplete = IntegerOf(row.Field("complete")) != 0;
  fetch.files = IntegerOf(row.Field("file_count"));
  fetch.bytes = IntegerOf(row.Field("byte_count"));
  fetch.error = ado::TextIn(row.Field("error"));
  return fetch;
}

}  // namespace torvik
