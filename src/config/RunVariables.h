#pragma once

#include <string>
#include <utility>
#include <vector>

namespace torvik {

namespace dts {
class GlobalVariables;
}

/// Values of a package's own global variables for one run: names and texts.
using RunVariables = std::vector<std::pair<std::string, std::string>>;

/// Sets them; a variable keeps the type that the package declares. Throws PlatformError when the
/// package has no such variable, when the job file sets it, and when the text is no value of its
/// type; no variable has changed then.
void SetRunVariables(const RunVariables& values, dts::GlobalVariables& variables);

}  // namespace torvik
