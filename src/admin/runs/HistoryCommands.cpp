#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "admin/common/Admin.h"
#include "admin/common/RunTexts.h"
#include "admin/common/Secrets.h"
#include "admin/runs/HistorySource.h"
#include "admin/runs/RunTrend.h"
#include "history/RunJson.h"
#include "platform/CountText.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

constexpr int kUsualColumns = 80;
constexpr int kTrendRuns = 200;

struct HistoryOptions {
  std::string job, since, picture, run;
  bool failedOnly = false, everywhere = false;
  int limit = 0;
};

/// As a shell completes it, the file of the directory where we are is "./sales.etl".
std::string JobAsked(const HistoryOptions& options) {
  return options.job.substr(options.job.starts_with("./") ? 2 : 0);
}

int Columns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                         : kUsualColumns;
}

/// As history show takes it.
Json NameOf(const RunRecord& run, const HistoryOptions& options) {
  return options.everywhere ? Json(run.host + ":" + std::to_string(run.id)) : Json(run.id);
}

int ListRuns(LinuxPlatform& platform, const HistoryOptions& options, bool json) {
  RunFilter filter{JobAsked(options), options.failedOnly, {}, options.limit};
  if (!options.since.empty()) filter.since = MomentOf(options.since);
  const std::vector<RunRecord> runs = RunsAsked(platform, filter, options.everywhere);
  if (json) {
    Json list = Json::array();
    for (const RunRecord& run : runs) list.push_back(JsonOf(run, false));
    PrintResult(list, "", true);
    return 0;
  }
  std::vector<JsonRow> rows;
  for (const RunRecord& run : runs) {
    const auto seconds = SecondsOf(run);
    rows.push_back({NameOf(run, options), LocalTime(run.begin), JobNameOf(run), WordOf(run.outcome),
                    seconds ? DurationText(*seconds) : "", Grouped(run.rows),
                    Grouped(run.rejectedRows), ReasonText(run)});
  }
  PrintRows({"run", "begin", "job", "verdict", "took", "rows", "rejected", "reason"}, rows, false);
  return 0;
}

void PrintParts(const RunRecord& run) {
  std::vector<JsonRow> rows;
  for (const FetchRecord& fetch : run.fetches)
    rows.push_back(
        {"fetch " + fetch.link,
         fetch.isComplete ? "ok"
         : fetch.end      ? "failure"
                          : "running",
         fetch.end ? DurationText(std::chrono::duration<double>(*fetch.end - fetch.begin).count())
                   : "",
         Counted(fetch.files, "file") + ", " + BytesText(fetch.bytes), "", fetch.error});
  for (const StepRecord& step : run.steps) {
    const Moment end = step.end.value_or(run.end.value_or(step.begin));
    const double seconds = std::chrono::duration<double>(end - step.begin).count();
    rows.push_back(
        {step.step + (step.attempt > 1 ? ", attempt " + std::to_string(step.attempt) : ""),
         WordOf(step.outcome), DurationText(seconds), RowsText(step.rows, seconds),
         step.rejectedRows == 0 ? "" : Grouped(step.rejectedRows), step.error});
  }
  if (!rows.empty())
    PrintRows({"step", "outcome", "took", "rows", "rejected", "error"}, rows, false);
}

int ShowRun(LinuxPlatform& platform, const HistoryOptions& options, bool json) {
  const RunRecord run = RunAsked(platform, options.run);
  if (json) {
    PrintResult(JsonOf(run, true), "", true);
    return 0;
  }
  const auto seconds = SecondsOf(run);
  const std::pair<const char*, std::string> lines[] = {
      {"run", std::to_string(run.id)},
      {"job", run.job},
      {"package", run.package + (run.versionGuid.empty() ? "" : ", version " + run.versionGuid)},
      {"server", run.packageServer},
      {"begin", LocalTime(run.begin)},
      {"took", seconds ? DurationText(*seconds) : ""},
      {"verdict", WordOf(run.outcome)},
      {"reason", ReasonText(run)},
      {"rows", RowsText(run.rows, seconds.value_or(0))},
      {"rejected", run.rejectedRows == 0 ? "" : Grouped(run.rejectedRows)},
      {"log", run.logFile},
      {"started by",
       run.startedBy + ", process " + std::to_string(run.process) + " on " + run.host}};
  for (const auto& [what, text] : lines)
    if (!text.empty()) std::printf("%-11s %s\n", what, text.c_str());
  for (const auto& [name, value] : run.variables)
    std::printf("%-11s %s=%s\n", "--var", name.c_str(), value.c_str());
  PrintParts(run);
  return 0;
}

int ShowTrend(LinuxPlatform& platform, const HistoryOptions& options, bool json) {
  const RunTrend trend = TrendOf(RunsAsked(
      platform, {JobAsked(options), false, {}, options.limit == 0 ? kTrendRuns : options.limit},
      options.everywhere));
  if (trend.runs.empty())
    throw PlatformError(0, "the history has no run of the job " + options.job + " that has ended",
                        "history");
  if (!options.picture.empty()) {
    const std::string title = options.job + ": " + LastAgainstMedian(trend);
    if (const auto error = platform.files->ReplaceBytes(options.picture, PictureOf(trend, title)))
      throw PlatformError(error.value(), options.picture + ": " + error.message(), "history");
  }
  Json runs = Json::array();
  for (const RunRecord& run : trend.runs) runs.push_back(JsonOf(run, false));
  PrintResult({{"job", options.job},
               {"last_seconds", trend.lastSeconds},
               {"median_seconds", trend.medianSeconds},
               {"runs", runs}},
              PlotOf(trend, Columns()) + LocalTime(trend.runs.front().begin) + " to " +
                  LocalTime(trend.runs.back().begin) + ", " + std::to_string(trend.runs.size()) +
                  " runs, x: not ok\nthe last one: " + LastAgainstMedian(trend) + ", " +
                  Counted(trend.runs.back().rows, "row"),
              json);
  return 0;
}

int SendThem(LinuxPlatform& platform, const HistoryOptions&, bool json) {
  const SentRuns sent = SendRuns(platform);
  PrintResult({{"sent", sent.sent}, {"problem", sent.problem}},
              std::to_string(sent.sent) + (sent.sent == 1 ? " run is sent" : " runs are sent"),
              json);
  if (!json && !sent.problem.empty()) Warn(sent.problem);
  return sent.problem.empty() ? 0 : 1;
}

using HistoryCommand = int (*)(LinuxPlatform&, const HistoryOptions&, bool);

void Choose(Invocation& invocation, const std::shared_ptr<HistoryOptions>& options,
            HistoryCommand command) {
  invocation.command = [&invocation, options, command](LinuxPlatform& platform) {
    return command(platform, *options, invocation.json);
  };
}

void AddEverywhere(CLI::App& command, HistoryOptions& options) {
  command.add_flag("--everywhere", options.everywhere,
                   "of all machines that share a history ([history] server of the settings)");
}

}  // namespace

void AddHistoryCommands(CLI::App& app, Invocation& invocation) {
  auto options = std::make_shared<HistoryOptions>();
  CLI::App* history = app.add_subcommand("history", "what ran, the latest first");
  history->footer("history show RUN tells all of one run, history trend JOB how a job develops.");
  history->add_option("JOB", options->job, "of this job alone: its name, or the path of its file");
  history->add_flag("--failed", options->failedOnly, "only runs that did not succeed");
  history->add_option(
      "--since", options->since,
      "only runs since then: 2026-11-25, \"2026-11-25 02:00\", today, yesterday, or "
      "12h, 7d");
  history->add_option("--limit", options->limit, "at most so many")->check(CLI::PositiveNumber);
  AddEverywhere(*history, *options);
  AddJsonOption(*history, invocation);
  CLI::App* show = history->add_subcommand("show", "one run: its steps, rows, rates and errors");
  show->add_option("RUN", options->run,
                   "its number, as history lists it; HOST:NUMBER of another machine")
      ->required();
  AddJsonOption(*show, invocation);
  CLI::App* trend =
      history->add_subcommand("trend", "how long a job's last runs took, and their rows");
  trend->add_option("JOB", options->job, "its name, or the path of its file")->required();
  trend->add_option("--limit", options->limit, "of so many runs")->check(CLI::PositiveNumber);
  trend->add_option("--svg", options->picture, "file for a picture of it");
  AddEverywhere(*trend, *options);
  AddJsonOption(*trend, invocation);
  CLI::App* send = history->add_subcommand(
      "send", "send the runs of this machine to the history that machines share");
  AddJsonOption(*send, invocation);
  history->callback([&invocation, options, history, show, trend, send] {
    Choose(invocation, options,
           history->got_subcommand(show)    ? ShowRun
           : history->got_subcommand(trend) ? ShowTrend
           : history->got_subcommand(send)  ? SendThem
                                            : ListRuns);
  });
}

}  // namespace torvik::admin
