#pragma once

#include <string>
#include <vector>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// How a runner tells the front end that has started it what of its log is missing: by lines in a
/// pipe, whose number stands in the environment.
inline constexpr const char* kFrontEndVariable = "TORVIK_FRONT_END";

/// The runner's end of it. Made early: no child of the runner gets it.
class FrontEnd {
 public:
  FrontEnd();
  /// Does nothing without a front end.
  void Tell(const std::vector<std::string>& lines);

 private:
  Descriptor pipe_;
};

/// The lines that a runner, which has ended, has left in the pipe.
std::vector<std::string> LinesFromRunner(int pipe);

}  // namespace torvik
