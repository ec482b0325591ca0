#pragma once

#include <string>
#include <string_view>

namespace torvik {

namespace dts {
class GlobalVariables;
}
class JobSettings;

/// Hands the job's settings to a package as the global variables that every package of the
/// environment has: writes those that differ, then tells in the last one whether any did. Adds a
/// missing separator to the job's log directory. Throws PlatformError at the first variable that
/// the package lacks.
void SetJobVariables(JobSettings& job, dts::GlobalVariables& variables);

/// Whether the variable of this name, in any letter case, is one of them.
bool IsJobVariable(std::string_view name);

/// "Name = value" of each of these variables but the passwords, with nothing between them.
std::string JobVariablesAsString(const dts::GlobalVariables& variables);

}  // namespace torvik
