#pragma once

#include "engine/pump/TextFormat.h"
#include "engine/tasks/PumpEnds.h"
#include "engine/tasks/PumpScripts.h"
#include "engine/tasks/PumpSettings.h"

namespace torvik::engine {

/// A pump as far as it decides whether several connections may load its rows.
struct PumpShape {
  const PumpSource& source;
  const PumpDestination& destination;
  const PumpSettings& settings;
  const TransformationPlans& transformations;
  const std::vector<LookupPlan>& lookups;
};

/// The key "load_connections", from 1 to 32. Reports why it cannot be more than 1 for this pump.
int ReadLoadConnections(TaskReader& reader, const PumpShape& pump);

}  // namespace torvik::engine
