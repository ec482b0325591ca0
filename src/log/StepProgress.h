#pragma once

#include <cstdint>
#include <string>

namespace torvik {

/// NotRun: its constraints did not come to hold, or the package ended before.
enum class StepState { Running, Done, Failed, NotRun };

/// How a step of a running package stands.
struct StepProgress {
  std::string step;
  StepState state = StepState::Running;
  std::int64_t rows = 0;  ///< So far; 0 for a step that counts none.
  std::int64_t rejected = 0;
  std::int64_t files = 0, bytes = 0;  ///< Of a step that fetches files, so far.
};

}  // namespace torvik
