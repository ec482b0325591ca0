#include "platform/linux/database/ServerValues.h"

#include <charconv>
#include <utility>

namespace torvik {

std::string DecimalDigits(std::string text) {
  if (!text.empty() && text[0] == '.') text.insert(0, 1, '0');
  if (text.starts_with("-.")) text.insert(1, 1, '0');
  return text;
}

ado::Value ExactNumber(std::string text) {
  text = DecimalDigits(std::move(text));
  const char* end = text.data() + text.size();
  std::int64_t whole = 0;
  if (const auto read = std::from_chars(text.data(), end, whole);
      read.ec == std::errc() && read.ptr == end)
    return whole;
  constexpr std::size_t kDigitsOfDouble = 15;
  double real = 0;
  const auto read = std::from_chars(text.data(), end, real);
  const bool isWhollyRead = read.ec == std::errc() && read.ptr == end;
  if (isWhollyRead && text.size() <= kDigitsOfDouble + 1) return real;
  return text;
}

std::string InCapitals(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return text;
}

}  // namespace torvik
