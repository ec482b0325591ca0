#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// UTF-8 as UTF-16. A byte that belongs to no valid character becomes U+FFFD.
std::u16string ToUtf16(std::string_view text);

/// UTF-16 as UTF-8. Half of a surrogate pair becomes U+FFFD.
std::string FromUtf16(std::u16string_view text);

}  // namespace torvik
