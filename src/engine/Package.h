#pragma once

#include <memory>

#include "engine/model/EngineServices.h"
#include "platform/Dts.h"

namespace torvik::engine {

/// Packages that are loaded from a server's msdb.dbo.sysdtspackages and run in this process. The
/// services must outlive the host and its packages.
std::unique_ptr<dts::PackageHost> NewPackageHost(const EngineServices& services);

}  // namespace torvik::engine
