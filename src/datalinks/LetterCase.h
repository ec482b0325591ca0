#pragma once

#include <string_view>

namespace torvik {

/// Equality of two UTF-8 texts without regard to letter case, of letters outside ASCII too. A byte
/// that is not valid UTF-8 equals itself alone.
bool EqualsInAnyCase(std::string_view a, std::string_view b);

}  // namespace torvik
