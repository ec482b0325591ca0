#include "platform/linux/database/ServerValues.h"

#include <charconv>
#include <iterator>
#include <utility>

#include "platform/NumberText.h"

namespace torvik {

std::string DecimalDigits(std::string text) {
  if (!text.empty() && text[0] == '.') text.insert(0, 1, '0');
  if (text.starts_with("-.")) text.insert(1, 1, '0');
  return text;
}

ado::Value ExactNumber(std::string text) {
  text = DecimalDigits(std::move(text));
  if (const auto whole = NumberOf<std::int64_t>(text)) return *whole;
  constexpr std::size_t kDigitsOfDouble = 15;
  const auto real = NumberOf<double>(text);
  if (real && text.size() <= kDigitsOfDouble + 1) return *real;
  return text;
}

double RealOf(float number) {
  char text[40];
  const auto end = std::to_chars(text, std::end(text), number).ptr;
  double real = number;  // kept for what has no digits
  std::from_chars(text, end, real);
  return real;
}

std::string InCapitals(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return text;
}

}  // namespace torvik
