#include "nights/Submissions.h"

#include <algorithm>
#include <map>

namespace torvik::nights {
namespace {

/// What the steps of one array have in common. A step that follows another task by task waits for
/// the submission of that one; `after` is empty then.
struct Likeness {
  std::vector<std::string> limits;
  std::optional<std::chrono::seconds> timeout;
  int priority = 0;
  std::optional<std::size_t> follows = {};
  std::vector<std::pair<std::size_t, engine::Outcome>> after = {};
  auto operator<=>(const Likeness&) const = default;
};

class Planner {
 public:
  Planner(const std::vector<NightStep>& steps, const std::vector<bool>& isLeftOut,
          std::size_t mostTasks)
      : steps_(steps), isLeftOut_(isLeftOut), mostTasks_(mostTasks), places_(steps.size()) {}

  std::vector<Submission> Plan() {
    const std::vector<std::size_t> levels = LevelsOf(steps_);
    const std::size_t deepest = levels.empty() ? 0 : *std::ranges::max_element(levels);
    for (std::size_t level = 0; level <= deepest; ++level) {
      open_.clear();  // steps of an array wait for none of them
      for (std::size_t i = 0; i < steps_.size(); ++i)
        if (levels[i] == level && !isLeftOut_[i]) Place(i);
    }
    return std::move(submissions_);
  }

 private:
  void Place(std::size_t step) {
    const Likeness likeness = LikenessOf(step);
    std::vector<std::size_t>& candidates = open_[likeness];
    for (const std::size_t candidate : candidates)
      if (Add(candidate, step)) return;
    candidates.push_back(submissions_.size());
    submissions_.push_back({{}, {}, likeness.follows});
    Add(candidates.back(), step);
  }

  /// False when the array is full, or has a task of the number.
  bool Add(std::size_t to, std::size_t step) {
    Submission& array = submissions_[to];
    const int number = array.follows ? places_[Kept(step)[0].step].task : std::ssize(array.steps);
    const bool isTaken = std::ranges::find(array.tasks, number) != array.tasks.end();
    if (isTaken || static_cast<std::size_t>(number) >= mostTasks_) return false;
    array.steps.push_back(step);
    array.tasks.push_back(number);
    places_[step] = {to, number};
    return true;
  }

  std::vector<engine::Constraint> Kept(std::size_t step) const {
    std::vector<engine::Constraint> kept = steps_[step].after;
    std::erase_if(kept, [&](const engine::Constraint& one) { return isLeftOut_[one.step]; });
    return kept;
  }

  Likeness LikenessOf(std::size_t step) const {
    const std::vector<engine::Constraint> after = Kept(step);
    Likeness likeness{steps_[step].limits, steps_[step].timeout, steps_[step].priority};
    // Of an array of one task all tasks wait for it alike.
    if (after.size() == 1 && after[0].outcome == engine::Outcome::Success &&
        submissions_[places_[after[0].step].submission].steps.size() > 1)
      likeness.follows = places_[after[0].step].submission;
    else
      for (const engine::Constraint& before : after)
        likeness.after.emplace_back(before.step, before.outcome);
    std::ranges::sort(likeness.after);
    return likeness;
  }

  const std::vector<NightStep>& steps_;
  const std::vector<bool>& isLeftOut_;
  const std::size_t mostTasks_;
  std::vector<PlaceInNight> places_;
  std::vector<Submission> submissions_;
  std::map<Likeness, std::vector<std::size_t>> open_;
};

const char* KindOf(engine::Outcome outcome) {
  switch (outcome) {
    case engine::Outcome::Success: return "afterok:";
    case engine::Outcome::Failure: return "afternotok:";
    case engine::Outcome::Completion: break;
  }
  return "afterany:";
}

}  // namespace

std::vector<Submission> SubmissionsOf(const std::vector<NightStep>& steps,
                                      const std::vector<bool>& isLeftOut, std::size_t mostTasks) {
  return Planner(steps, isLeftOut, mostTasks).Plan();
}

std::vector<PlaceInNight> PlacesOf(const std::vector<Submission>& submissions, std::size_t steps) {
  std::vector<PlaceInNight> places(steps);
  for (std::size_t i = 0; i < submissions.size(); ++i)
    for (std::size_t k = 0; k < submissions[i].steps.size(); ++k)
      places[submissions[i].steps[k]] = {i, submissions[i].tasks[k]};
  return places;
}

std::string DependencyOf(const Submission& submission, const std::vector<NightStep>& steps,
                         const std::vector<bool>& isLeftOut,
                         const std::vector<PlaceInNight>& places,
                         const std::vector<std::string>& jobs) {
  if (submission.follows) return "aftercorr:" + jobs[*submission.follows];
  std::string text;
  for (const engine::Constraint& one : steps[submission.steps[0]].after) {
    if (isLeftOut[one.step]) continue;
    const PlaceInNight& place = places[one.step];
    text += (text.empty() ? "" : ",") + std::string(KindOf(one.outcome)) + jobs[place.submission] +
            "_" + std::to_string(place.task);
  }
  return text;
}

std::string ArrayText(const std::vector<int>& tasks) {
  std::vector<int> sorted = tasks;
  std::ranges::sort(sorted);
  std::string text;
  for (std::size_t i = 0; i < sorted.size();) {
    std::size_t last = i;
    while (last + 1 < sorted.size() && sorted[last + 1] == sorted[last] + 1) ++last;
    text += (text.empty() ? "" : ",") + std::to_string(sorted[i]);
    if (last > i) text += "-" + std::to_string(sorted[last]);
    i = last + 1;
  }
  return text;
}

}  // namespace torvik::nights
