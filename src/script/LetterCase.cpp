#include "script/LetterCase.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::script {

namespace {

/// Ranges of letters. The small letter of a capital stands `distance` behind it; where that is 1,
/// they alternate, beginning with the capital.
const struct {
  char32_t first, last;  ///< Of the capitals; of all where they alternate.
  char32_t distance;
} ranges[] = {{0xC0, 0xD6, 32},   {0xD8, 0xDE, 32},   {0x100, 0x12F, 1},  {0x132, 0x137, 1},
              {0x139, 0x148, 1},  {0x14A, 0x177, 1},  {0x179, 0x17E, 1},  {0x391, 0x3A1, 32},
              {0x3A3, 0x3A9, 32}, {0x400, 0x40F, 80}, {0x410, 0x42F, 32}, {0x460, 0x481, 1}};

char32_t Lower(char32_t point) {
  for (const auto& range : ranges) {
    if (point < range.first || point > range.last) continue;
    const bool isSmall = range.distance == 1 && (point - range.first) % 2 == 1;
    return isSmall ? point : point + range.distance;
  }
  return point;
}

char32_t Upper(char32_t point) {
  for (const auto& range : ranges) {
    const char32_t capital = point - range.distance;
    if (capital < range.first || capital > range.last) continue;
    const bool isSmall = range.distance > 1 || (point - range.first) % 2 == 1;
    return isSmall ? capital : point;
  }
  return point;
}

template <class Ascii>
std::string Changed(std::string_view text, Ascii ascii, char32_t (*change)(char32_t)) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t plain = AsciiLength(text);
    std::ranges::transform(text.substr(0, plain), std::back_inserter(result), ascii);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::size_t length = CharacterLength(text);
    if (length == 2)
      AppendCodePoint(change(CodePointOf(text.substr(0, 2))), result);
    else
      result += text.substr(0, std::max<std::size_t>(1, length));
    text.remove_prefix(std::max<std::size_t>(1, length));
  }
  return result;
}

}  // namespace

std::string ToLowerCase(std::string_view text) {
  return Changed(
      text, [](char c) { return LowerAscii(c); }, Lower);
}

std::string ToUpperCase(std::string_view text) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  return Changed(text, upper, Upper);
}

}  // namespace torvik::script
