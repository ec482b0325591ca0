#include "engine/run/Workflow.h"

#include <gtest/gtest.h>

#include <set>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

TEST(Workflow, RunsStepsInTheirOrder) {
  using enum Outcome;
  const struct {
    const char* what;
    std::vector<std::vector<Constraint>> after;  // of each step; steps are numbered from 0
    std::set<std::size_t> failing;
    std::set<std::size_t> disabled;
    std::vector<std::size_t> order;
    std::string ends;  // see EndOf
    std::vector<int> priorities = {};
  } cases[] = {
      {"no steps", {}, {}, {}, {}, ""},
      {"a later step first", {{{1, Success}}, {}, {}}, {}, {}, {1, 0, 2}, "SSS"},
      {"success does not hold", {{}, {{0, Success}}}, {0}, {}, {0}, "FW"},
      {"failure holds", {{}, {{0, Failure}}}, {0}, {}, {0, 1}, "FS"},
      {"failure does not hold", {{}, {{0, Failure}}}, {}, {}, {0}, "SW"},
      {"completion after failure", {{}, {{0, Completion}}}, {0}, {}, {0, 1}, "FS"},
      {"completion after success", {{}, {{0, Completion}}}, {}, {}, {0, 1}, "SS"},
      {"one of two holds", {{}, {}, {{0, Success}, {1, Success}}}, {1}, {}, {0, 1}, "SFW"},
      {"never is passed on", {{}, {{0, Failure}}, {{1, Completion}}}, {}, {}, {0}, "SWW"},
      {"a disabled step", {{}, {}, {{0, Completion}}}, {}, {0}, {1}, "ISW"},
      {"a failure does not stop free steps", {{}, {}}, {0}, {}, {0, 1}, "FS"},
      {"two constraints on one step", {{}, {{0, Success}, {0, Completion}}}, {}, {}, {0, 1}, "SS"},
      {"the higher priority first",
       {{}, {}, {{1, Success}}, {}},
       {},
       {},
       {1, 2, 0, 3},
       "SSSS",
       {3, 5, 4, 3}},
  };
  for (const auto& c : cases) {
    std::vector<StepModel> steps(c.after.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
      steps[i].after = c.after[i];
      steps[i].disabled = c.disabled.contains(i);
      if (!c.priorities.empty()) steps[i].priority = c.priorities[i];
    }
    Workflow workflow(steps);
    for (int round = 0; round < 2; ++round) {
      std::vector<std::size_t> order;
      std::string ends;
      while (const auto next = workflow.Next()) {
        order.push_back(*next);
        workflow.Start(*next);
        workflow.End(*next, c.failing.contains(*next) ? StepEnd::Failed : StepEnd::Succeeded);
      }
      for (const StepState& state : workflow.States()) ends += EndOf(state);
      EXPECT_EQ(order, c.order) << c.what << ", round " << round;
      EXPECT_EQ(ends, c.ends) << c.what << ", round " << round;
      EXPECT_EQ(workflow.AnyFailed(), !c.failing.empty()) << c.what;
      workflow.Reset();
      EXPECT_FALSE(workflow.AnyFailed()) << c.what;
    }
  }
}

TEST(Workflow, StepsThatAreToRunAgainWaitForTheirConstraints) {
  using enum Outcome;
  // 0, then 1, then 2; 3 after a failure of 1.
  std::vector<StepModel> steps(4);
  steps[1].after = {{0, Success}};
  steps[2].after = {{1, Completion}};
  steps[3].after = {{1, Failure}};
  Workflow workflow(steps);
  std::string order, ends;
  for (int runs = 0; const auto next = workflow.Next(); ++runs) {
    order += std::to_string(*next);
    workflow.Start(*next);
    if (runs == 0) workflow.SetDisabled(2, true);
    if (runs == 1) {  // it ends badly, and runs again itself: those behind it wait
      workflow.RunAgain(1);
      workflow.End(1, StepEnd::Failed);
      EXPECT_EQ("SWIW", [&] {
        std::string all;
        for (const StepState& state : workflow.States()) all += EndOf(state);
        return all;
      }());
      continue;
    }
    if (runs == 2) workflow.SetDisabled(2, false);
    if (runs == 3) workflow.RunAgain(0);
    workflow.End(*next, StepEnd::Succeeded);
  }
  for (const StepState& state : workflow.States()) ends += EndOf(state);
  EXPECT_EQ("0112012", order);
  EXPECT_EQ("SFSW", ends);  // a failure is not forgotten
  EXPECT_TRUE(workflow.AnyFailed());
}

}  // namespace
}  // namespace torvik::engine
