#pragma once

#include <functional>
#include <string>

#include "engine/ServerLog.h"

namespace torvik::engine {

/// ExecutePackage with the package's logs: its file and, when it wants that, the server's tables.
/// An event is in the file before the request's sink gets it: the next step may send the file.
/// `onTrouble` is told what of the logs is missing, and why.
void ExecuteLogged(ExecutionRequest request, const PackageOrigin& origin,
                   const std::function<void(const std::string&)>& onTrouble);

}  // namespace torvik::engine
