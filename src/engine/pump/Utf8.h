#pragma once

#include <cstddef>
#include <string_view>

namespace torvik::engine {

/// The offset of the first byte that does not belong to valid UTF-8 (no overlong forms, no
/// surrogates, nothing above U+10FFFF); npos when all of `text` is valid.
std::size_t FindInvalidUtf8(std::string_view text);

/// The number of characters of a valid text.
std::size_t CountCharacters(std::string_view text);

/// The first `count` characters of a valid text.
std::string_view FirstCharacters(std::string_view text, std::size_t count);

}  // namespace torvik::engine
