#pragma once

#include <string>
#include <vector>

#include "admin/common/Admin.h"
#include "nights/NightSteps.h"

namespace torvik::admin {

/// A package whose steps are jobs.
struct NightPackage {
  std::string name;
  std::vector<nights::NightStep> steps;
  std::vector<std::string> remarks;  ///< What is otherwise than when one machine runs it.
};

/// Of a document (.toml), of the job file (.etl) that runs the package, whose values its variables
/// have then, or of that name on the server of `choice`. `variables` are "NAME=VALUE", and go
/// before the job's. Throws PlatformError with a line for each step that cannot be submitted.
NightPackage ReadNight(LinuxPlatform& platform, const ServerChoice& choice, const std::string& what,
                       const std::vector<std::string>& variables);

}  // namespace torvik::admin
