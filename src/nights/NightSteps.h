#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::engine {
class Variables;
}

/// Nights over machines: packages whose steps are jobs, each job a task of a batch system.
namespace torvik::nights {

/// Names and texts.
using NamedTexts = std::vector<std::pair<std::string, std::string>>;

/// A step of a night: a job, and what it waits for.
struct NightStep {
  std::string name;
  std::string job;                        ///< Its file, as the step gives it.
  std::string statusFile;                 ///< Empty: none of its own.
  NamedTexts variables;                   ///< Given to the job's package.
  std::vector<engine::Constraint> after;  ///< Positions among the night's steps.
  std::vector<std::string> limits;
  std::int64_t retries = 0;
  std::chrono::seconds retryDelay{0};
  std::optional<std::chrono::seconds> timeout;
  int priority = 3;  ///< 1 to 5; the higher one first.
  bool isDisabled = false;
};

/// The steps of a package in its order, `${Name}` replaced by `values`. Throws PlatformError with a
/// line for each step that is no job, or that only a run on one machine can decide on.
std::vector<NightStep> NightStepsOf(const engine::PackageModel& package,
                                    const engine::Variables& values);

/// Which steps are never reached whatever happens: those that are disabled, that wait for such a
/// one, or for the failure of one that an earlier night has done. One that is done itself is not
/// among them.
std::vector<bool> NeverReached(const std::vector<NightStep>& steps,
                               const std::vector<bool>& isDone);

/// The longest way to each step, counted in steps.
std::vector<std::size_t> LevelsOf(const std::vector<NightStep>& steps);

}  // namespace torvik::nights
