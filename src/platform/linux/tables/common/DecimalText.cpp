#include "platform/linux/tables/common/DecimalText.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>

namespace torvik {
namespace {

bool AreDigits(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

struct Decimal {
  bool negative;
  std::string_view whole, fraction;  ///< Without zeros that say nothing.
};

std::optional<Decimal> ReadDecimal(std::string_view text) {
  Decimal number{.negative = text.starts_with('-')};
  if (number.negative) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  number.whole = text.substr(0, point);
  number.fraction = text.substr(std::min(point + 1, text.size()));
  if (number.whole.size() + number.fraction.size() == 0 || !AreDigits(number.whole) ||
      !AreDigits(number.fraction))
    return {};
  number.whole.remove_prefix(std::min(number.whole.find_first_not_of('0'), number.whole.size()));
  number.fraction = number.fraction.substr(0, number.fraction.find_last_not_of('0') + 1);
  if (number.whole.empty() && number.fraction.empty()) number.negative = false;
  return number;
}

int CompareMagnitudes(const Decimal& a, const Decimal& b) {
  if (a.whole.size() != b.whole.size()) return a.whole.size() < b.whole.size() ? -1 : 1;
  const int whole = a.whole.compare(b.whole);
  return whole != 0 ? whole : a.fraction.compare(b.fraction);
}

int Collate(void*, int sizeA, const void* a, int sizeB, const void* b) {
  return CompareDecimalTexts({static_cast<const char*>(a), static_cast<std::size_t>(sizeA)},
                             {static_cast<const char*>(b), static_cast<std::size_t>(sizeB)});
}

/// Takes the last decimal digit off a little-endian number.
int TakeDigit(std::string& number) {
  unsigned remainder = 0;
  for (auto byte = number.rbegin(); byte != number.rend(); ++byte) {
    const unsigned part = remainder << 8 | static_cast<unsigned char>(*byte);
    *byte = static_cast<char>(part / 10);
    remainder = part % 10;
  }
  return static_cast<int>(remainder);
}

}  // namespace

std::string DecimalText(std::string_view magnitude, bool negative, int scale) {
  std::string number(magnitude), digits;
  const auto isZero = [&] { return number.find_first_not_of('\0') == std::string::npos; };
  const bool hasValue = !isZero();
  for (int position = 0; !isZero() || position <= scale; ++position) {
    if (position == scale && scale > 0) digits += '.';
    digits += static_cast<char>('0' + TakeDigit(number));
  }
  if (negative && hasValue) digits += '-';
  std::ranges::reverse(digits);
  return digits;
}

void AddDecimalCollation(sqlite3* handle) {
  sqlite3_create_collation_v2(handle, kDecimalCollation, SQLITE_UTF8, nullptr, Collate, nullptr);
}

int CompareDecimalTexts(std::string_view a, std::string_view b) {
  const auto x = ReadDecimal(a), y = ReadDecimal(b);
  if (!x || !y) return x ? -1 : y ? 1 : a.compare(b);
  if (x->negative != y->negative) return x->negative ? -1 : 1;
  return x->negative ? CompareMagnitudes(*y, *x) : CompareMagnitudes(*x, *y);
}

}  // namespace torvik
