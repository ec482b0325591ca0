#pragma once

#include <memory>

#include "platform/Neighbourhood.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// By the settings: their servers, drives and shares; folders of other shares over SMB.
std::unique_ptr<Neighbourhood> NewLinuxNeighbourhood(const Settings& settings,
                                                     const PathMap& paths);

}  // namespace torvik
