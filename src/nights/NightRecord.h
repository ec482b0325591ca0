#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::nights {

/// A step of a night that was submitted.
struct SubmittedStep {
  std::string name;
  std::string job;
  std::vector<engine::Constraint> after;
  bool isDisabled = false;
  bool isDone = false;  ///< An earlier night has done it.
  std::string task;     ///< "12_0": the array's job and number; empty for one that is in none.
};

/// What is kept of a night in its directory, for whoever asks later.
struct NightRecord {
  std::string package;
  std::string submitted;                  ///< When, UTC (ISO 8601).
  std::vector<std::string> jobs;          ///< The arrays.
  std::vector<SubmittedStep> steps = {};  ///< In the package's order.
};

/// As JSON, and back. Reading throws PlatformError, which begins with `place`.
std::string TextOf(const NightRecord& night);
NightRecord NightRecordOf(std::string_view text, const std::string& place);

}  // namespace torvik::nights
