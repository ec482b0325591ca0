#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// A SQL text of a package, where it runs and where it stands.
struct PackageStatement {
  std::string step, key, connection, sql;
  int line = 0;
};

/// The SQL texts of the steps of a document that can be read, in its order.
std::vector<PackageStatement> StatementsOf(const std::string& document);

/// Has the server of each SQL text of the package compile it and runs none: a line for each that is
/// not taken, and for each connection that cannot be tried. Variables are as `job` sets them, a job
/// file; empty: as the document declares them. Throws PlatformError when the job cannot be read.
std::vector<std::string> TryStatements(LinuxPlatform& platform, const engine::PackageModel& package,
                                       const std::string& document, const std::string& job);

}  // namespace torvik::admin
