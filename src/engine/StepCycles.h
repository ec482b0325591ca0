#pragma once

#include <vector>

#include "engine/model/PackageModel.h"
#include "engine/model/Problems.h"

namespace torvik::engine {

/// Reports every cycle of steps that wait for each other, by the steps' names in order.
void ReportStepCycles(const std::vector<StepModel>& steps, Problems& problems);

}  // namespace torvik::engine
