#include "ui/JobHistory.h"

#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeRunHistory.h"
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
  step("make", 0, 1, StepOutcome::Ok);
  step("load", 1, 3, StepOutcome::Failure);
  step("load", 13, 20, StepOutcome::Failure);
  monitor.ShowRecord(run, "Run 7");
  EXPECT_EQ(2u, monitor.Package.Get().size());
  ASSERT_NE(nullptr, monitor.Find("load"));
  EXPECT_EQ(StepState::Failed, monitor.Find("load")->state);
  EXPECT_EQ(13, monitor.Find("load")->begin) << "its last attempt";
  EXPECT_EQ(100, monitor.Find("make")->rowsPerSecond);
  EXPECT_EQ(20, monitor.Seconds());
  EXPECT_EQ(RunVerdict::Failure, monitor.Verdict.Get());
  EXPECT_EQ("load", monitor.Problems.Get()[0].place);
  run.outcome = RunOutcome::Running;
  run.end.reset();
  monitor.ShowRecord(run, "Run 7");
  EXPECT_EQ(RunVerdict::None, monitor.Verdict.Get()) << "one that another process runs now";
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
  EXPECT_LE(step.rowsByTime.size(), 120u);
  EXPECT_NEAR(1000, step.interval * static_cast<double>(step.rowsByTime.size()), 2 * step.interval);
  std::int64_t all = 0;
  for (const std::int64_t rows : step.rowsByTime) all += rows;
  EXPECT_EQ(5000, all);
  EXPECT_EQ(0, step.rowsByTime.back()) << "nothing has come in its second half";
}

}  // namespace
}  // namespace torvik
