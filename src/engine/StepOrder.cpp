#include "engine/StepOrder.h"

#include <algorithm>

namespace torvik::engine {
namespace {

/// Follows the constraints from each step; a step met again on the way closes a cycle.
class CycleSearch {
 public:
  CycleSearch(const std::vector<StepModel>& steps, Problems& problems)
      : steps_(steps), problems_(problems), done_(steps.size()) {}

  void Visit(std::size_t step) {
    const auto met = std::find(way_.begin(), way_.end(), step);
    if (met != way_.end()) return Report({met, way_.end()});
    if (done_[step]) return;
    way_.push_back(step);
    for (const Constraint& constraint : steps_[step].after) Visit(constraint.step);
    way_.pop_back();
    done_[step] = true;
  }

 private:
  void Report(const std::vector<std::size_t>& cycle) {
    std::string names;
    for (const std::size_t step : cycle) names += Quoted(steps_[step].name) + " after ";
    names += Quoted(steps_[cycle.front()].name);
    problems_.Add(steps_[cycle.front()].place,
                  "steps wait for each other: " + names + "; remove one of these constraints",
                  static_cast<long>(dts::Error::CyclicDependency));
  }

  const std::vector<StepModel>& steps_;
  Problems& problems_;
  std::vector<bool> done_;
  std::vector<std::size_t> way_;
};

}  // namespace

void CheckStepOrder(const std::vector<StepModel>& steps, Problems& problems) {
  CycleSearch search(steps, problems);
  for (std::size_t step = 0; step < steps.size(); ++step) search.Visit(step);
}

}  // namespace torvik::engine
