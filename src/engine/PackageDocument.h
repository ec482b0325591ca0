#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::engine {

/// Reads a package's TOML text. Throws a PlatformError whose text has one line for each problem:
/// "NAME, line L, column C: reason; what to do", where NAME is `documentName`, a file or a package.
PackageModel ReadPackageDocument(std::string_view text, const std::string& documentName);

/// Reads a step's task from other keys than those of the document. Throws a PlatformError with what
/// is wrong with them.
std::unique_ptr<const Task> ReadTaskAnew(const PackageModel& package, const StepModel& step,
                                         const TomlTable& keys);

}  // namespace torvik::engine
