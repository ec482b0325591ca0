#include "datalinks/LetterCase.h"

#include <algorithm>
#include <locale>
#include <stdexcept>

#include "platform/Text.h"

namespace torvik {
namespace {

/// The process may run in the "C" locale, which knows the letters of ASCII alone.
const std::ctype<wchar_t>& Letters() {
  static const std::locale locale = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale::classic();
    }
  }();
  return std::use_facet<std::ctype<wchar_t>>(locale);
}

/// Takes the first character off `text`, in lower case. What is not UTF-8 stays above every
/// character's number.
wchar_t TakeLower(std::string_view& text) {
  constexpr unsigned kNoCharacter = 0x110000;
  const std::size_t length = CharacterLength(text);
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned code = length == 0 ? kNoCharacter + byte(0) : byte(0);
  if (length > 1) code &= 0x7Fu >> length;
  for (std::size_t i = 1; i < length; ++i) code = code << 6 | (byte(i) & 0x3Fu);
  text.remove_prefix(std::max<std::size_t>(length, 1));
  const auto character = static_cast<wchar_t>(code);
  return code < kNoCharacter ? Letters().tolower(character) : character;
}

}  // namespace

bool EqualsInAnyCase(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (TakeLower(a) != TakeLower(b)) return false;
  }
  return a.empty() && b.empty();
}

}  // namespace torvik
