#include "platform/linux/sqlite/SqliteFit.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/DateText.h"
#include "platform/NumberText.h"
#include "platform/Text.h"
#include "platform/linux/sqlite/SqliteDecimal.h"

namespace torvik {
namespace {

using Kind = ado::ColumnKind;

constexpr int kDigits = std::numeric_limits<double>::digits10;

/// A real number that is written as a decimal has no exponent from here to 10^15.
constexpr double kLeastPlain = 1e-5;

/// True for the affinity that types of a kind have; others are odd ones such as "DATE TEXT".
bool IsUsual(ado::ColumnKind kind, SqliteAffinity affinity) {
  switch (kind) {
    case Kind::Text: return affinity != SqliteAffinity::Real;
    case Kind::Real: return affinity == SqliteAffinity::Real;
    case Kind::Binary:
      return affinity == SqliteAffinity::None || affinity == SqliteAffinity::Number;
    default: return affinity == SqliteAffinity::Number;
  }
}

std::string_view ViewOf(sqlite3_value* value) {
  const void* data = sqlite3_value_blob(value);
  return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

}  // namespace

std::optional<SqliteFit> SqliteFit::Of(const ado::Column& column) {
  const SqliteAffinity affinity = AffinityOf(column.declaredType);
  if (!IsUsual(column.kind, affinity)) return {};
  return SqliteFit(column, affinity);
}

SqliteFit::SqliteFit(const ado::Column& column, SqliteAffinity affinity)
    : kind_(column.kind),
      affinity_(affinity),
      isNullable_(column.nullable),
      unit_(column.unit),
      room_(static_cast<std::size_t>(column.size)),
      lowest_(0),
      hasScale_(column.precision > 0),
      scale_(column.scale) {
  constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
  if (kind_ == Kind::Text && affinity_ != SqliteAffinity::Number)
    sureBytes_ = column.size > 0 ? column.size : std::numeric_limits<int>::max();
  if (kind_ == Kind::Integer) {
    highest_ = kHighest >> (64 - 8 * (column.size > 0 ? column.size : 8));
    lowest_ = -highest_ - 1;
    if (column.size == 1) lowest_ = 0, highest_ = 0xFF;  // TINYINT has no sign
  } else if (kind_ == Kind::Boolean) {
    highest_ = 1;
  } else if (kind_ == Kind::Decimal) {
    const int whole = hasScale_ ? std::min(column.precision, kDigits) - scale_ : kDigits;
    const bool isWritten = !hasScale_ || column.precision > kDigits;
    endOfReals_ = PowerOfTen(whole);
    leastReal_ = isWritten ? kLeastPlain : 0;
    highest_ = !hasScale_ ? kHighest : whole > 0 ? static_cast<std::int64_t>(endOfReals_) - 1 : 0;
    lowest_ = -highest_;
  }
}

bool SqliteFit::Holds(sqlite3_value* value) const {
  switch (sqlite3_value_type(value)) {
    case SQLITE_NULL: return isNullable_;
    case SQLITE_INTEGER: return HoldsWhole(sqlite3_value_int64(value));
    case SQLITE_FLOAT: return HoldsReal(sqlite3_value_double(value));
    case SQLITE_TEXT: return sqlite3_value_bytes(value) <= sureBytes_ || HoldsText(ViewOf(value));
    default: return kind_ == Kind::Binary;
  }
}

bool SqliteFit::HoldsWhole(std::int64_t number) const {
  const bool isNumber = kind_ == Kind::Integer || kind_ == Kind::Boolean || kind_ == Kind::Decimal;
  return isNumber && number >= lowest_ && number <= highest_;
}

bool SqliteFit::HoldsReal(double number) const {
  if (kind_ == Kind::Real) return std::isfinite(number);
  const double size = std::abs(number);
  if (kind_ != Kind::Decimal || !(size >= leastReal_ && size < endOfReals_)) return false;
  return !hasScale_ || !HasMoreDigits(number, static_cast<std::size_t>(scale_));
}

bool SqliteFit::HoldsText(std::string_view text) const {
  switch (kind_) {
    case Kind::Date: return IsDate(text);
    case Kind::DateTime: return IsDateTime(text);
    case Kind::Text:
      return HasRoomFor(text) && !(affinity_ == SqliteAffinity::Number && MayBeNumber(text));
    default: return false;
  }
}

bool SqliteFit::HasRoomFor(std::string_view text) const {
  if (room_ == 0 || text.size() <= room_) return true;
  std::size_t room = room_;
  if (unit_ == ado::TextUnit::Utf8) return false;
  if (unit_ == ado::TextUnit::Utf16) {
    const auto isLead = [](char c) { return static_cast<unsigned char>(c) >= 0xF0; };
    const auto wide = static_cast<std::size_t>(std::ranges::count_if(text, isLead));
    if (wide > room) return false;
    room -= wide;
  }
  return FirstCharacters(text, room).size() == text.size();
}

}  // namespace torvik
