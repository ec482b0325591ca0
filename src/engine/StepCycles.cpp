#include "engine/StepCycles.h"

#include <algorithm>

namespace torvik::engine {
namespace {

/// Follows the constraints from each step; a step met again on the way closes a cycle. The way is a
/// list, not a recursion: a chain may be as long as a document.
class CycleSearch {
 public:
  CycleSearch(const std::vector<StepModel>& steps, Problems& problems)
      : steps_(steps), problems_(problems), states_(steps.size()) {}

  void From(std::size_t step) {
    if (states_[step] == State::New) Enter(step);
    while (!way_.empty()) {
      Place& place = way_.back();
      const auto& after = steps_[place.step].after;
      if (place.next == after.size()) {
        states_[place.step] = State::Done;
        way_.pop_back();
      } else {
        Meet(after[place.next++].step);
      }
    }
  }

 private:
  enum class State : char { New, OnTheWay, Done };

  struct Place {
    std::size_t step;
    std::size_t next = 0;  ///< The constraint to follow.
  };

  void Enter(std::size_t step) {
    states_[step] = State::OnTheWay;
    way_.push_back({step});
  }

  void Meet(std::size_t step) {
    if (states_[step] == State::New) return Enter(step);
    if (states_[step] == State::OnTheWay) Report(step);
  }

  /// The way from `first` on is the cycle.
  void Report(std::size_t first) {
    auto place =
        std::find_if(way_.begin(), way_.end(), [&](const Place& one) { return one.step == first; });
    // Of a long one the beginning is enough to find it.
    constexpr std::ptrdiff_t kMostNames = 20;
    const auto end = std::min(way_.end() - place, kMostNames) + place;
    std::string names;
    for (; place != end; ++place) names += Quoted(steps_[place->step].name) + " after ";
    if (end != way_.end()) names += "... after ";
    problems_.Add(steps_[first].place,
                  "steps wait for each other: " + names + Quoted(steps_[first].name) +
                      "; remove one of these constraints",
                  static_cast<long>(dts::Error::CyclicDependency));
  }

  const std::vector<StepModel>& steps_;
  Problems& problems_;
  std::vector<State> states_;
  std::vector<Place> way_;
};

}  // namespace

void ReportStepCycles(const std::vector<StepModel>& steps, Problems& problems) {
  CycleSearch search(steps, problems);
  for (std::size_t step = 0; step < steps.size(); ++step) search.From(step);
}

}  // namespace torvik::engine
