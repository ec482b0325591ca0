#pragma once

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

/// Names and values.
using NamedTexts = std::vector<std::pair<std::string, std::string>>;

/// The value of kRunVariables. No text may hold the character U+001F, which stands between them.
std::string JoinedVariables(const NamedTexts& variables);

/// The runner's end of it. Made early: no child of the runner gets it.
class FrontEnd {
 public:
  FrontEnd();
  /// Does nothing without a front end.
  void Tell(const std::vector<std::string>& lines);
  const NamedTexts& Variables() const { return variables_; }

 private:
  Descriptor pipe_;
  NamedTexts variables_;
};

/// The lines that a runner, which has ended, has left in the pipe.
std::vector<std::string> LinesFromRunner(int pipe);

}  // namespace torvik
