#include "engine/Workflow.h"

#include <gtest/gtest.h>

#include <set>

namespace torvik::engine {
namespace {

struct Case {
  const char* what;
  std::vector<std::vector<Constraint>> after;  // of each step; steps are numbered from 0
  std::set<std::size_t> failing;
  std::set<std::size_t> disabled;
  std::vector<std::size_t> order;
  std::string ends;  // S(uccess), F(ailure), W(aiting), I(nactive)
};

std::string EndsOf(const Workflow& workflow) {
  using dts::StepExecutionStatus;
  std::string ends;
  for (const StepState& state : workflow.States()) {
    const bool failed = state.ExecutionResult() == dts::StepExecutionResult::Failure;
    switch (state.ExecutionStatus()) {
      case StepExecutionStatus::Waiting: ends += 'W'; break;
      case StepExecutionStatus::InProgress: ends += 'P'; break;
      case StepExecutionStatus::Inactive: ends += 'I'; break;
      case StepExecutionStatus::Completed: ends += failed ? 'F' : 'S'; break;
    }
  }
  return ends;
}

TEST(Workflow, RunsStepsInTheirOrder) {
  constexpr auto kSuccess = Outcome::Success;
  constexpr auto kFailure = Outcome::Failure;
  constexpr auto kCompletion = Outcome::Completion;
  const Case cases[] = {
      {"no steps", {}, {}, {}, {}, ""},
      {"free steps: document order", {{}, {}, {}}, {}, {}, {0, 1, 2}, "SSS"},
      {"a later step first", {{{1, kSuccess}}, {}, {}}, {}, {}, {1, 0, 2}, "SSS"},
      {"success does not hold", {{}, {{0, kSuccess}}}, {0}, {}, {0}, "FW"},
      {"failure holds", {{}, {{0, kFailure}}}, {0}, {}, {0, 1}, "FS"},
      {"failure does not hold", {{}, {{0, kFailure}}}, {}, {}, {0}, "SW"},
      {"completion after failure", {{}, {{0, kCompletion}}}, {0}, {}, {0, 1}, "FS"},
      {"completion after success", {{}, {{0, kCompletion}}}, {}, {}, {0, 1}, "SS"},
      {"all constraints must hold",
       {{}, {}, {{0, kSuccess}, {1, kSuccess}}},
       {1},
       {},
       {0, 1},
       "SFW"},
      {"never is passed on", {{}, {{0, kFailure}}, {{1, kCompletion}}}, {}, {}, {0}, "SWW"},
      {"a disabled step", {{}, {}, {{0, kCompletion}}}, {}, {0}, {1}, "ISW"},
      {"a failure does not stop free steps", {{}, {}}, {0}, {}, {0, 1}, "FS"},
  };
  for (const Case& c : cases) {
    std::vector<StepModel> steps(c.after.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
      steps[i].after = c.after[i];
      steps[i].disabled = c.disabled.contains(i);
    }
    Workflow workflow(steps);
    for (int round = 0; round < 2; ++round) {
      std::vector<std::size_t> order;
      while (const auto next = workflow.Next()) {
        order.push_back(*next);
        workflow.Start(*next);
        workflow.End(*next, c.failing.contains(*next));
      }
      EXPECT_EQ(order, c.order) << c.what << ", round " << round;
      EXPECT_EQ(EndsOf(workflow), c.ends) << c.what << ", round " << round;
      EXPECT_EQ(workflow.AnyFailed(), !c.failing.empty()) << c.what;
      workflow.Reset();
    }
  }
}

}  // namespace
}  // namespace torvik::engine
