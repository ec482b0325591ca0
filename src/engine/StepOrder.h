#pragma once

#include <vector>

#include "engine/PackageModel.h"
#include "engine/Problems.h"

namespace torvik::engine {

/// Reports every cycle of steps that wait for each other, by the steps' names in order.
void CheckStepOrder(const std::vector<StepModel>& steps, Problems& problems);

}  // namespace torvik::engine
