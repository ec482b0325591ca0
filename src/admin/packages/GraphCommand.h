#pragma once

#include <string>

#include "admin/common/Admin.h"
#include "engine/model/PackageModel.h"

namespace torvik::admin {

struct GraphOptions {
  std::string output;   ///< Empty: standard output.
  std::string log;      ///< Of the package; empty: no run is shown.
  bool isText = false;  ///< Graphviz's language instead of the picture.
};

/// Draws a package. Answers the exit code.
int DrawPackage(LinuxPlatform& platform, const engine::PackageModel& package,
                const GraphOptions& options, bool json);

}  // namespace torvik::admin
