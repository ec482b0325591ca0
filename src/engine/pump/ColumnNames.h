#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace torvik::engine {

/// The position of the column called `wanted`, exactly or else without regard to letter case.
/// Throws PlatformError when there is none or several; the text names `owner` ("table airport",
/// "source") and lists its columns.
std::size_t FindColumn(const std::vector<std::string>& names, const std::string& wanted,
                       const std::string& owner);

}  // namespace torvik::engine
