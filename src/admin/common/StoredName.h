#pragma once

#include <string>
#include <string_view>

namespace torvik::admin {

/// Why a package cannot be called so, in words that go on from the name ("holds a control
/// character; ..."); empty when it can.
std::string PackageNameProblem(const std::string& name);

/// The same of a model or a data link: a run's statements hold their names between quotes as they
/// stand.
std::string LinkNameProblem(std::string_view name);

}  // namespace torvik::admin
