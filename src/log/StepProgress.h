#pragma once

#include <cstdint>
#include <string>

namespace torvik {

enum class StepState { Running, Done, Failed };

/// How a step of a running package stands.
struct StepProgress {
  std::string step;
  StepState state = StepState::Running;
  std::int64_t rows = 0;  ///< So far; 0 for a step that counts none.
};

}  // namespace torvik
