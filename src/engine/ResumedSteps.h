#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::engine {

/// The steps that need not run again when a package goes on where a run ended in which those of
/// `succeeded` did, in an order in which each stands behind those that it waits for. A step that
/// waits for one that runs again does so too, and one that only sets variables always does. Throws
/// PlatformError where a step can be neither left out nor run again: what it has done is rolled
/// back with its transaction, or a later step needs what it has found.
std::vector<std::size_t> StepsToLeaveOut(const PackageModel& package,
                                         const std::vector<std::string>& succeeded);

}  // namespace torvik::engine
