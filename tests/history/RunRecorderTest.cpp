#include "history/RunRecorder.h"

#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeRunHistory.h"
#include "platform/FetchProgress.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class RunRecorderTest : public testing::Test {
 protected:
  /// Counts what is written.
  struct CountedHistory final : FakeRunHistory {
    int writes = 0;
    std::string Write(RunRecord& run) override {
      ++writes;
      return FakeRunHistory::Write(run);
    }
  };

  void Begin() {
    RunRecord run;
    run.job = "/jobs/sales.etl";
    recorder_.Begin(std::move(run));
  }
  const RunRecord& Stored() const { return history_.runs.back(); }

  CountedHistory history_;
  FakeClock clock_;
  FakeMessages messages_;
  RunRecorder recorder_{history_, clock_, messages_};
};

TEST_F(RunRecorderTest, KeepsWhatStepsAndFetchesCameTo) {
  std::int64_t told = 0;
  recorder_.onBegin = [&](std::int64_t run) { told = run; };
  Begin();
  EXPECT_EQ(told, 1);
  recorder_.FetchBegins("orders");
  recorder_.FetchProceeds({"a.csv", 2, 3000});
  recorder_.FetchEnds(true, "");
  recorder_.StepBegins("load");
  recorder_.StepIsRetried("load", "deadlock");
  clock_.Sleep(500ms);
  recorder_.StepHasRows("load", 1003);
  recorder_.StepEnds("load", 1000, 3);
  recorder_.StepBegins("sum");
  recorder_.StepFails("sum", "no table");
  recorder_.StepEnds("sum", 0, 0);
  recorder_.Fails("the package failed");
  recorder_.End(RunOutcome::Failure);
  recorder_.End(RunOutcome::Ok);  // it stands
  const RunRecord& run = Stored();
  EXPECT_EQ(run.outcome, RunOutcome::Failure);
  EXPECT_EQ(run.failedStep + ": " + run.error, "sum: no table");
  EXPECT_EQ(run.end, clock_.now);
  EXPECT_THAT((std::vector{run.rows, run.rejectedRows, run.bytes}), ElementsAre(1000, 3, 3000));
  ASSERT_EQ(run.steps.size(), 3u);
  EXPECT_EQ(run.steps[0].error, "deadlock");
  EXPECT_EQ(run.steps[1].attempt, 2);
  EXPECT_EQ(run.steps[1].outcome, StepOutcome::Ok);
  EXPECT_EQ(*run.steps[1].end - run.steps[1].begin, 500ms);
  EXPECT_TRUE(run.fetches.at(0).isComplete);
}

TEST_F(RunRecorderTest, AStepThatFailsNoRunIsNoReason) {
  Begin();
  recorder_.StepBegins("optional");
  recorder_.StepFails("optional", "gone");
  recorder_.StepEnds("optional", 0, 0);
  recorder_.End(RunOutcome::Ok);
  EXPECT_EQ(Stored().failedStep + Stored().error, "");
  EXPECT_EQ(Stored().steps.at(0).error, "gone");
}

TEST_F(RunRecorderTest, NothingGoesOnBehindTheEnd) {
  Begin();
  recorder_.FetchBegins("orders");
  recorder_.StepBegins("left out");
  recorder_.StepBegins("load");
  recorder_.StepIsLeftOut("left out");
  recorder_.StepIsLeftOut("never begun");
  clock_.Sleep(2s);
  recorder_.End(RunOutcome::Failure);
  ASSERT_EQ(Stored().steps.size(), 1u);
  EXPECT_EQ(Stored().steps[0].step, "load");
  EXPECT_EQ(Stored().steps[0].outcome, StepOutcome::Failure);
  EXPECT_EQ(Stored().steps[0].end, clock_.now);
  EXPECT_EQ(Stored().fetches.at(0).end, clock_.now);
}

TEST_F(RunRecorderTest, WritesAtMostOnceASecondMeanwhile) {
  Begin();
  recorder_.StepBegins("load");
  for (int i = 1; i <= 100; ++i) {
    clock_.Sleep(50ms);
    recorder_.StepHasRows("load", i);
  }
  EXPECT_EQ(history_.writes, 1 + 5);
  recorder_.End(RunOutcome::Ok);
  EXPECT_EQ(history_.writes, 1 + 5 + 1);
}

TEST_F(RunRecorderTest, WhatCannotBeWrittenIsToldOnceARun) {
  history_.failure = "the disk is full";
  for (int run = 0; run < 2; ++run) {
    messages_.reports.clear();
    Begin();
    recorder_.StepBegins("load");
    clock_.Sleep(5s);
    recorder_.Idle();
    recorder_.End(RunOutcome::Ok);
    EXPECT_THAT(messages_.reports, ElementsAre("the history: the disk is full"));
  }
}

TEST_F(RunRecorderTest, AStepThatTookAWhileIsWrittenWhenItHasEnded) {
  Begin();
  for (const auto& [duration, isWritten] : {std::pair{20ms, false}, {200ms, true}}) {
    recorder_.StepBegins("step");
    clock_.Sleep(duration);
    recorder_.StepEnds("step", 1, 0);
    const bool isStored =
        !Stored().steps.empty() && Stored().steps.back().outcome == StepOutcome::Ok;
    EXPECT_EQ(isWritten, isStored) << duration.count();
  }
}

}  // namespace
}  // namespace torvik
