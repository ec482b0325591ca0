#include "platform/linux/sqlite/SqliteLoadValue.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <string>

#include "platform/NumberText.h"

namespace torvik {
namespace {

/// The digits that make a number, without those that only say how large it is; the exponent is left
/// out. Empty when it is no plain number.
std::string Significant(std::string_view text) {
  std::string digits;
  for (const char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9') {
      if (c != '0' || !digits.empty()) digits += c;
    } else if (c != '.' && c != '-') {
      return "";
    }
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

}  // namespace

SqliteStorage SqliteStorageOf(ado::ColumnKind kind) {
  switch (kind) {
    case ado::ColumnKind::Integer:
    case ado::ColumnKind::Boolean: return SqliteStorage::Integer;
    case ado::ColumnKind::Decimal:
    case ado::ColumnKind::Real: return SqliteStorage::Number;
    case ado::ColumnKind::Binary: return SqliteStorage::Bytes;
    default: return SqliteStorage::Text;
  }
}

bool ReadNumber(std::string_view text, std::int64_t& number) {
  const auto read = NumberOf<std::int64_t>(text);
  if (read) number = *read;
  return read.has_value();
}

bool ReadNumber(std::string_view text, double& number) {
  const auto read = NumberOf<double>(text);
  if (!read || !std::isfinite(*read)) return false;
  number = *read;
  return true;
}

bool IsKeptDecimal(std::string_view text) {
  constexpr std::size_t kSure = 15;
  if (text.size() <= kSure) return true;
  std::int64_t whole = 0;
  double real = 0;
  const std::string digits = Significant(text);
  if (digits.size() <= kSure || ReadNumber(text, whole) || !ReadNumber(text, real)) return true;
  char back[80];
  const auto end = std::to_chars(back, std::end(back), real, std::chars_format::scientific,
                                 static_cast<int>(digits.size() - 1));
  return end.ec == std::errc() &&
         digits == Significant({back, static_cast<std::size_t>(end.ptr - back)});
}

}  // namespace torvik
