#pragma once

#include <string>

#include "migrate/Inventory.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// Adds the job files (.etl), batch files (.bat, .cmd) and packages (.dts, and texts) of a
/// directory and those below it, with the places that they name, to the inventory. Throws
/// PlatformError when the directory cannot be read.
void ReadOldFiles(LinuxPlatform& platform, const std::string& directory,
                  migrate::Inventory& inventory);

/// The packages that the job files of a directory here run; none when it cannot be read.
std::vector<std::string> PackagesOfJobs(LinuxPlatform& platform, const std::string& directory);

}  // namespace torvik::admin
