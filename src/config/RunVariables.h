#pragma once

#include <string>
#include <utility>
#include <vector>

namespace torvik {

namespace dts {
class GlobalVariables;
}
class Secrets;

/// Values of a package's own global variables for one run: names and texts.
using RunVariables = std::vector<std::pair<std::string, std::string>>;

/// Sets them; a variable keeps the type that the package declares. A variable that holds a password
/// is given a reference to it, as Secrets has them. Throws PlatformError, which begins with
/// `origin` (the job file, say), when the package has no such variable, when Torvik sets it itself,
/// when a password is not referred to or cannot be read, and when the text is no value of its type;
/// no variable has changed then.
void SetRunVariables(const RunVariables& values, const std::string& origin, Secrets& secrets,
                     dts::GlobalVariables& variables);

}  // namespace torvik
