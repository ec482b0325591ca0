#include <gmock/gmock.h>

#include <set>

#include "alarms/AlarmPlan.h"
#include "alarms/JobMetrics.h"
#include "alarms/JobName.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::chrono::seconds kDay{24 * 3600};

/// A run for each letter, one a day: ok, failure, lost, running; in capitals those of the form.
/// The latest stands first, as a history answers them.
std::vector<RunRecord> RunsOf(const std::string& letters) {
  std::vector<RunRecord> runs;
  for (const char c : letters) {
    RunRecord run;
    run.id = static_cast<std::int64_t>(runs.size()) + 1;
    run.job = "/jobs/sales.etl";
    run.package = "Sales_LoadDW";
    run.isAttended = c < 'a';
    const char letter = LowerAscii(c);
    run.outcome = letter == 'o'   ? RunOutcome::Ok
                  : letter == 'f' ? RunOutcome::Failure
                  : letter == 'l' ? RunOutcome::Lost
                                  : RunOutcome::Running;
    run.begin = Moment(kDay * run.id);
    if (letter != 'r') run.end = run.begin + std::chrono::milliseconds(1500);
    runs.insert(runs.begin(), run);
  }
  return runs;
}

AlarmSettings EverythingFor(NotifyOn ends) {
  AlarmSettings settings;
  settings.monitor[""].pingUrl = "http://x";
  settings.notify[""] = {"a@example.com", {"page", "--now"}, ends};
  return settings;
}

/// What is due of the last run: "ping", "mail failed", "mail recovered", "program".
std::string DueOf(const std::string& letters, NotifyOn ends = NotifyOn::Change,
                  RaisedAlarms raised = 0) {
  const auto runs = RunsOf(letters);
  RunRecord run = runs.front();
  run.alarms = raised;
  const Announcement planned =
      PlanFor(EverythingFor(ends), run, runs, Moment(kDay * (run.id + 1)), "");
  std::string due = !planned.serviceUrl.empty() ? "ping " : "";
  if (planned.mail) due += planned.change == RunChange::Failed ? "mail-failed " : "mail-recovered ";
  return due + (planned.program ? "program" : "");
}

TEST(AlarmRulesTest, AMailComesAtTheFirstFailureAndAtTheRecovery) {
  const struct {
    const char* runs;
    NotifyOn ends;
    const char* due;
  } cases[] = {
      {"o", NotifyOn::Change, "ping "},
      {"f", NotifyOn::Change, "ping mail-failed program"},
      {"l", NotifyOn::Change, "ping mail-failed program"},
      {"of", NotifyOn::Change, "ping mail-failed program"},
      {"off", NotifyOn::Change, "ping "},
      {"ofl", NotifyOn::Change, "ping "},
      {"offo", NotifyOn::Change, "ping mail-recovered program"},
      {"ofoo", NotifyOn::Change, "ping "},
      {"off", NotifyOn::Failure, "ping program"},
      {"fo", NotifyOn::Failure, "ping mail-recovered "},
      {"oo", NotifyOn::Always, "ping program"},
      {"fF", NotifyOn::Always, ""},  // on the form its end is seen
      {"fOo", NotifyOn::Change, "ping mail-recovered program"},
      {"oFf", NotifyOn::Change, "ping mail-failed program"},
      {"orf", NotifyOn::Change, "ping mail-failed program"},
  };
  for (const auto& c : cases) EXPECT_EQ(DueOf(c.runs, c.ends), c.due) << c.runs;
}

TEST(AlarmRulesTest, WhatWasRaisedIsNotRaisedAgain) {
  EXPECT_EQ(DueOf("of", NotifyOn::Change, kServiceCalled), "mail-failed program");
  EXPECT_EQ(DueOf("of", NotifyOn::Change, kServiceCalled | kMailSent), "program");
  EXPECT_EQ(DueOf("of", NotifyOn::Change, kServiceCalled | kProgramEnded), "mail-failed ");

  const auto runs = RunsOf("ofo");
  const auto settings = EverythingFor(NotifyOn::Change);
  const Announcement earlier = PlanFor(settings, runs[1], runs, Moment(kDay * 4), "last line");
  EXPECT_EQ(earlier.serviceUrl, "") << "the service would take it for the last run";
  ASSERT_TRUE(earlier.mail);
  EXPECT_THAT(earlier.mail->text, Not(HasSubstr("last line"))) << "the log is of a later run";
  const Announcement old = PlanFor(settings, runs[0], runs, Moment(kDay * 11), "");
  EXPECT_FALSE(!old.serviceUrl.empty() || old.mail || old.program);
  EXPECT_EQ(old.Raised(), kAllAlarms);
}

TEST(AlarmRulesTest, AJobsSectionGoesBeforeTheOthers) {
  AlarmSettings settings = EverythingFor(NotifyOn::Change);
  settings.monitor["sales"].pingUrl = "http://sales";
  settings.notify["sales"] = {};
  EXPECT_EQ(MonitorOf(settings, "/jobs/SALES.ETL").pingUrl, "http://sales");
  EXPECT_EQ(MonitorOf(settings, "C:\\jobs\\stock.etl").pingUrl, "http://x");
  EXPECT_EQ(NotifyOf(settings, "/jobs/sales.etl").mailTo, "");
  EXPECT_FALSE(AreRaisedFor({}, "/jobs/sales.etl"));
  EXPECT_FALSE(AreRaisedFor(settings, ""));
}

TEST(AlarmRulesTest, AProgramReadsTheRunAsJson) {
  auto runs = RunsOf("f");
  runs[0].error = "5 > 4 \"quoted\"\n";
  runs[0].steps = {{.step = "load", .outcome = StepOutcome::Failure}};
  const auto planned =
      PlanFor(EverythingFor(NotifyOn::Change), runs[0], runs, Moment(kDay * 2), "");
  EXPECT_EQ(planned.program->program + planned.program->arguments.at(0), "page--now");
  EXPECT_THAT(planned.program->input, StartsWith(R"({"id":1,"job":"/jobs/sales.etl",)"));
  EXPECT_THAT(planned.program->input,
              HasSubstr(R"("outcome":"failure","begin":"1970-01-02T00:00:00Z")"));
  EXPECT_THAT(planned.program->input, HasSubstr(R"("error":"5 > 4 \"quoted\"\n")"));
  EXPECT_THAT(planned.program->input, HasSubstr(R"("steps":[{"step":"load")"));
  EXPECT_THAT(planned.program->input, testing::EndsWith("\"change\":\"failed\"}\n"));
}

TEST(AlarmRulesTest, MetricsAreOfTheLastRunThatHasEnded) {
  const struct {
    const char* runs;
    std::vector<const char*> lines;
  } cases[] = {
      {"ofr",
       {"_ok{L} 0\n", "_consecutive_failures{L} 1\n",
        "_last_success_timestamp_seconds{L} 86401.500\n"}},
      {"lf",
       {"_ok{L} 0\n", "_consecutive_failures{L} 2\n",
        "_last_success_timestamp_seconds{L} 0.000\n"}},
      {"flo",
       {"_ok{L} 1\n", "_consecutive_failures{L} 0\n", "_duration_seconds{L} 1.500\n",
        "_last_success_timestamp_seconds{L} 259201.500\n"}},
  };
  const std::string labels =
      "{etl_job=\"sales\",file=\"/jobs/sales.etl\",package=\"Sales_LoadDW\"}";
  for (const auto& c : cases)
    for (std::string line : c.lines)
      EXPECT_THAT(MetricsText(RunsOf(c.runs)), HasSubstr(line.replace(line.find("{L}"), 3, labels)))
          << c.runs;
  EXPECT_EQ(MetricsText(RunsOf("r")), "");
}

TEST(AlarmRulesTest, FilesOfMetricsHaveSafeNamesOfTheirOwn) {
  std::set<std::string> names;
  const char* const jobs[] = {"/a/sales.etl",        "/b/sales.etl",  "/a/sales",
                              "/a/s\xC3\xA4les.etl", "/a/s ales.etl", "/a/..etl",
                              "C:\\a\\sales.etl"};
  for (const char* job : jobs) {
    const std::string name = MetricsFileName(job);
    EXPECT_TRUE(names.insert(name).second) << name;
    EXPECT_THAT(name, testing::MatchesRegex("torvik_[A-Za-z0-9_.-]+_[0-9a-f]{16}\\.prom")) << job;
  }
  EXPECT_LT(MetricsFileName("/a/" + std::string(250, 'x') + ".etl").size(), 200u);
}

}  // namespace
}  // namespace torvik
