#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::engine {

/// Reads a package's TOML text. Throws a PlatformError whose text has one line for each problem:
/// "NAME, line L, column C: reason; what to do", where NAME is `documentName`, a file or a package.
PackageModel ReadPackageDocument(std::string_view text, const std::string& documentName);

}  // namespace torvik::engine
