#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// How a runner tells the front end that has started it what of its log is missing: by lines in a
/// pipe, whose number stands in the environment.
inline constexpr const char* kFrontEndVariable = "TORVIK_FRONT_END";

/// What the front end gives to the variables of the run's package stands there as well.
inline constexpr const char* kRunVariables = "TORVIK_RUN_VARIABLES";

/// So does the run of the history that the run is to go on with.
inline constexpr const char* kResumedRun = "TORVIK_RESUMED_RUN";

/// Names and values.
using NamedTexts = std::vector<std::pair<std::string, std::string>>;

/// The value of kRunVariables. No text may hold the character U+001F, which stands between them.
std::string JoinedVariables(const NamedTexts& variables);

/// The runner's end of it. Made early: no child of the runner gets it.
class FrontEnd {
 public:
  FrontEnd();
  /// Both do nothing without a front end. `run` is the number of the run in the history.
  void Tell(const std::vector<std::string>& lines);
  void TellRun(std::int64_t run);
  const NamedTexts& Variables() const { return variables_; }
  std::int64_t ResumedRun() const { return resumedRun_; }  ///< 0: none.

 private:
  Descriptor pipe_;
  NamedTexts variables_;
  std::int64_t resumedRun_ = 0;
};

/// What a runner, which has ended, has left in the pipe.
struct RunnerTold {
  std::vector<std::string> lines;
  std::int64_t run = 0;  ///< 0: it is in no history.
};
RunnerTold ReadFromRunner(int pipe);

}  // namespace torvik
