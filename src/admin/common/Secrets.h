#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik {
class PathMap;
}

namespace torvik::admin {

/// Why a file that holds a password should not be as it is: others may read it. Empty when it may
/// be, or cannot be opened.
std::string OpenToOthers(const PathMap& paths, const std::string& path);

/// The passwords that a document holds itself: whoever may read the package has them. A line for
/// each, with its place.
std::vector<std::string> PlainPasswords(const engine::PackageModel& package);

/// Tells whoever called what he should know though the command went on, on standard error.
void Warn(const std::string& text);

}  // namespace torvik::admin
