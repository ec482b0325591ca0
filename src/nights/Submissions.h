#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "nights/NightSteps.h"

namespace torvik::nights {

/// Steps that one call of sbatch submits, as the tasks of an array.
struct Submission {
  std::vector<std::size_t> steps;  ///< Positions in the night.
  std::vector<int> tasks;          ///< The number of each in the array.
  /// Each task waits for the success of the task of its own number in an earlier submission; else
  /// all wait for the same steps.
  std::optional<std::size_t> follows;
};

/// Where a step was put.
struct PlaceInNight {
  std::size_t submission = 0;
  int task = 0;
};

/// As few arrays as the steps allow, each behind those that it waits for: steps of one array wait
/// for the same, and have the same limits, time-out and priority. Those of `isLeftOut` are in none,
/// and nothing waits for them. An array has at most `mostTasks` tasks, with lower numbers than
/// that.
std::vector<Submission> SubmissionsOf(const std::vector<NightStep>& steps,
                                      const std::vector<bool>& isLeftOut, std::size_t mostTasks);

/// Where each step is; of those in none the answer means nothing.
std::vector<PlaceInNight> PlacesOf(const std::vector<Submission>& submissions, std::size_t steps);

/// What sbatch takes as the array's dependency ("afterok:12_0,afterany:13_4"); `jobs` has the jobs
/// of the earlier submissions. Empty for one that waits for nothing.
std::string DependencyOf(const Submission& submission, const std::vector<NightStep>& steps,
                         const std::vector<bool>& isLeftOut,
                         const std::vector<PlaceInNight>& places,
                         const std::vector<std::string>& jobs);

/// The numbers of its tasks as sbatch takes them ("0-7,9").
std::string ArrayText(const std::vector<int>& tasks);

}  // namespace torvik::nights
