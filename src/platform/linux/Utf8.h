#pragma once

#include <cstddef>
#include <string_view>

namespace torvik {

/// How many bytes at the start of `text` are ASCII characters.
std::size_t AsciiLength(std::string_view text);

/// The length of the valid UTF-8 character that `text` begins with; 0 when there is none: overlong
/// forms, surrogates and numbers above U+10FFFF are not valid. `text` is not empty.
std::size_t CharacterLength(std::string_view text);

/// How many bytes at the start of `text` are valid UTF-8.
std::size_t ValidUtf8Length(std::string_view text);

/// The length in bytes of the first `characters` characters; that of all of `text` when it has
/// fewer. A byte that is not valid counts as a character.
std::size_t Utf8LengthOf(std::string_view text, std::size_t characters);

}  // namespace torvik
