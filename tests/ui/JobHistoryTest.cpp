#include "ui/JobHistory.h"

#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeRunHistory.h"
#include "platform/FetchProgress.h"
#include "ui/RunMonitor.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;

RunRecord RunOf(std::chrono::seconds duration, RunOutcome outcome = RunOutcome::Ok) {
  RunRecord run;
  run.job = "/jobs/sales.etl";
  run.begin = Moment(1h);
  run.end = run.begin + duration;
  run.outcome = outcome;
  return run;
}

TEST(JobHistory, SaysWhatIsUsualOnceEnoughRunsHaveSucceeded) {
  FakeRunHistory runs;
  JobHistory history(runs);
  history.Read("/jobs/sales.etl");
  EXPECT_NE("", history.Trouble.Get());
  for (const auto seconds : {10s, 30s}) {
    RunRecord run = RunOf(seconds);
    runs.Write(run);
  }
  RunRecord failed = RunOf(1s, RunOutcome::Failure);
  runs.Write(failed);
  history.Read("/jobs/sales.etl");
  EXPECT_EQ(std::nullopt, history.UsualSeconds()) << "two are not enough, and a failure is none";
  RunRecord third = RunOf(12s);
  runs.Write(third);
  history.Read("/jobs/sales.etl");
  EXPECT_EQ(12, history.UsualSeconds());
  EXPECT_EQ(4u, history.Ids.Get().size());
  EXPECT_TRUE(history.IsSlow(RunOf(25s)));
  EXPECT_FALSE(history.IsSlow(RunOf(24s)));
  EXPECT_EQ(12s,
            *history.LastRun("/jobs/sales.etl")->end - history.LastRun("/jobs/sales.etl")->begin);
  EXPECT_EQ(std::nullopt, history.LastRun("/jobs/other.etl"));
  history.Read("");
  EXPECT_TRUE(history.Runs().empty());
}

TEST(RunMonitor, ShowsARunOfTheHistoryAsItWas) {
  FakeClock clock;
  RunMonitor monitor(clock);
  RunRecord run = RunOf(20s, RunOutcome::Failure);
  run.failedStep = "load", run.error = "line 7";
  const auto step = [&](const char* name, int begin, int end, StepOutcome outcome) {
    StepRecord record;
    record.step = name;
    record.begin = run.begin + std::chrono::seconds(begin);
    record.end = run.begin + std::chrono::seconds(end);
    record.outcome = outcome;
    record.rows = 100;
    run.steps.push_back(record);
  };
  run.fetches.push_back({"orders", run.begin, run.begin + 1s, true, 2, 3000, ""});
  step("make", 0, 1, StepOutcome::Ok);
  step("load", 1, 3, StepOutcome::Failure);
  step("load", 13, 20, StepOutcome::Failure);
  monitor.ShowRecord(run, "Run 7");
  EXPECT_EQ(2u, monitor.Package.Get().size());
  ASSERT_NE(nullptr, monitor.Find("load"));
  EXPECT_EQ(StepState::Failed, monitor.Find("load")->state);
  EXPECT_EQ(13, monitor.Find("load")->begin) << "its last attempt";
  EXPECT_EQ(100, monitor.Find("make")->rowsPerSecond);
  EXPECT_EQ("2 files, 3.0 kB", FiguresOf(*monitor.FindFetch("orders")));
  EXPECT_EQ(20, monitor.Seconds());
  EXPECT_EQ(RunVerdict::Failure, monitor.Verdict.Get());
  EXPECT_EQ("load", monitor.Problems.Get()[0].place);
  run.outcome = RunOutcome::Running;
  run.end.reset();
  monitor.ShowRecord(run, "Run 7");
  EXPECT_EQ(RunVerdict::None, monitor.Verdict.Get()) << "one that another process runs now";
}

TEST(RunMonitor, ShowsFetchesBeforeTheSteps) {
  FakeClock clock;
  RunMonitor monitor(clock);
  monitor.Begin();
  monitor.ShowFetchProgress({"stray", 1, 1});
  EXPECT_TRUE(monitor.Fetches().empty());
  monitor.ShowFetch({.link = "orders", .from = "ftp://host/out", .to = "S:\\in"});
  const auto figures = [&] { return FiguresOf(monitor.Fetches().back()); };
  EXPECT_EQ("waiting for its provider", figures());
  clock.Sleep(2s);
  const std::pair<FetchProgress, const char*> told[] = {
      {{"a.csv", 0, 1}, "0 files, 1 byte"},
      {{"a.csv", 0, 999}, "0 files, 999 bytes"},
      {{"b.csv", 1, 1000}, "1 file, 1.0 kB"},
      {{"b.csv", 1, 999'949}, "1 file, 999.9 kB"},
      {{"c.csv", 2, 999'950}, "2 files, 1.0 MB"},
      {{"c.csv", 1200, 2'500'000}, "1,200 files, 2.5 MB"}};
  for (const auto& [progress, text] : told) {
    monitor.ShowFetchProgress(progress);
    EXPECT_EQ(text, figures());
  }
  monitor.ShowFetch({.link = "orders", .state = StepState::Failed, .error = "no such file"});
  clock.Sleep(1s);
  monitor.ShowFetch({.link = "prices"});
  monitor.ShowFetch({.link = "prices", .state = StepState::Failed, .error = "cancelled"});
  EXPECT_EQ("0 files, 0 bytes", figures());
  EXPECT_EQ(2, monitor.FindFetch("orders")->end);
  EXPECT_EQ("no such file", monitor.FindFetch("orders")->error);
  EXPECT_EQ(3, monitor.FindFetch("prices")->begin);
}

TEST(RunMonitor, ShowsWhatAStepFetches) {
  FakeClock clock;
  RunMonitor monitor(clock);
  monitor.Begin();
  monitor.ShowStep({"fetch", StepState::Running});
  EXPECT_EQ("", FiguresOf(monitor.Steps()[0]));
  const std::pair<StepProgress, const char*> told[] = {
      {{"fetch", StepState::Running, 0, 0, 0, 300}, "0 files, 300 bytes"},
      {{"fetch", StepState::Running, 0, 0, 2, 2000}, "2 files, 2.0 kB"},
      {{"fetch", StepState::Done}, "2 files, 2.0 kB"},
      {{"fetch", StepState::Running}, ""},  // it runs again
      {{"fetch", StepState::Running, 0, 0, 1, 0}, "1 file, 0 bytes"}};
  for (const auto& [progress, text] : told) {
    clock.Sleep(1s);
    monitor.ShowStep(progress);
    EXPECT_EQ(text, FiguresOf(monitor.Steps()[0]));
  }
}

TEST(RunMonitor, CountsRowsByTimeHoweverLongAStepTakes) {
  FakeClock clock;
  RunMonitor monitor(clock);
  monitor.Begin();
  monitor.ShowStep({"pump", StepState::Running, 0});
  for (int second = 1; second <= 1000; ++second) {
    clock.Sleep(1s);
    monitor.ShowStep(
        {"pump", StepState::Running, second * (second <= 500 ? 10 : 0) + 5000 * (second > 500)});
  }
  const RunMonitor::Step& step = monitor.Steps()[0];
  const std::vector<std::int64_t>& parts = step.rowsByTime.Intervals();
  const double length = step.rowsByTime.IntervalSeconds();
  EXPECT_LE(parts.size(), 120u);
  EXPECT_NEAR(1000, length * static_cast<double>(parts.size()), 2 * length);
  std::int64_t all = 0;
  for (const std::int64_t rows : parts) all += rows;
  EXPECT_EQ(5000, all);
  EXPECT_EQ(0, parts.back()) << "nothing has come in its second half";
}

}  // namespace
}  // namespace torvik
