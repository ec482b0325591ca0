#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/RunHistory.h"

namespace torvik {

/// A run as a JSON object. Times are UTC (ISO 8601), `seconds` is how long it took. `withParts`
/// adds its variables, its steps and what it has fetched.
nlohmann::ordered_json JsonOf(const RunRecord& run, bool withParts);

/// A time as JSON has it: UTC, ISO 8601.
std::string UtcText(Moment moment);

/// "running", "ok", "failure" or "lost".
const char* WordOf(RunOutcome outcome);
const char* WordOf(StepOutcome outcome);

}  // namespace torvik
