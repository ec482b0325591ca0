#include "engine/pump/Conversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "engine/pump/RowBatch.h"
#include "platform/CountText.h"
#include "platform/DateText.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Says why a value does not fit.
bool Refuse(std::string reason, std::string& misfit) {
  misfit = std::move(reason);
  return false;
}

/// The digits that `text` begins with.
std::string_view Digits(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return {text.data(), count};
}

/// A plus sign means nothing, and not every server reads it.
void DropPlus(std::string_view& text) {
  if (text[0] == '+' && !text.starts_with("+-")) text.remove_prefix(1);
}

/// Cuts digits behind a point; false when there is something else.
bool CutFraction(std::string_view& text) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || point == 0) return false;
  if (Digits(text.substr(point + 1)).size() + point + 1 != text.size()) return false;
  text = text.substr(0, point);
  return true;
}

/// SQL Server's TINYINT is the one type without a sign.
bool IsUnsigned(const ado::Column& column) {
  return column.size == 1 && EqualsIgnoringCase(column.declaredType.substr(0, 7), "tinyint");
}

int BytesOf(const ado::Column& column) {
  return column.size > 0 ? column.size : 8;
}

bool RefuseTooLarge(const ado::Column& column, std::string& misfit) {
  return Refuse("does not fit a whole number of " + Counted(BytesOf(column), "byte") +
                    (IsUnsigned(column) ? " without a sign" : ""),
                misfit);
}

bool FitWhole(const ado::Column& column, unsigned flags, std::int64_t& number,
              std::string& misfit) {
  std::int64_t highest = std::numeric_limits<std::int64_t>::max() >> (64 - 8 * BytesOf(column));
  std::int64_t lowest = -highest - 1;
  if (IsUnsigned(column)) {
    if (number < 0 && number >= lowest && (flags & kAllowSignChange)) number &= 0xFF;
    highest = 0xFF;
    lowest = 0;
  }
  return (number <= highest && number >= lowest) || RefuseTooLarge(column, misfit);
}

bool FitInteger(const ado::Column& column, unsigned flags, std::string_view text,
                ado::LoadValue& value, std::string& misfit) {
  DropPlus(text);
  if (flags & kAllowNumericTruncation) CutFraction(text);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size())
    return Refuse("is not a whole number", misfit);
  if (error != std::errc()) return RefuseTooLarge(column, misfit);
  if (!FitWhole(column, flags, number, misfit)) return false;
  value = number;
  return true;
}

bool FitDecimal(const ado::Column& column, unsigned flags, std::string_view& text,
                std::string& misfit) {
  DropPlus(text);
  std::string_view rest = text;
  if (rest.starts_with('-')) rest.remove_prefix(1);
  std::string_view whole = Digits(rest);
  rest.remove_prefix(whole.size());
  std::string_view fraction;
  if (rest.starts_with('.')) {
    fraction = Digits(rest.substr(1));
    rest.remove_prefix(1 + fraction.size());
  }
  if (!rest.empty() || (whole.empty() && fraction.empty()))
    return Refuse("is not a decimal number", misfit);
  whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));
  const int room = column.precision - column.scale;
  if (column.precision > 0 && whole.size() > static_cast<std::size_t>(room))
    return Refuse("has more than " + std::to_string(room) + " digits before the point", misfit);
  const auto scale = static_cast<std::size_t>(column.scale);
  if ((flags & kAllowNumericTruncation) && column.precision > 0 && fraction.size() > scale)
    text.remove_suffix(fraction.size() - scale + (scale == 0 ? 1 : 0));
  return true;
}

bool FitReal(std::string_view text, ado::LoadValue& value, std::string& misfit) {
  DropPlus(text);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size() ||
      !std::isfinite(number))
    return Refuse("is not a number", misfit);
  if (error != std::errc())
    return Refuse("is outside the range of a floating-point number", misfit);
  value = number;
  return true;
}

bool IsAmong(std::initializer_list<std::string_view> words, std::string_view text) {
  return std::ranges::any_of(words,
                             [&](std::string_view word) { return EqualsIgnoringCase(text, word); });
}

bool FitBoolean(unsigned flags, std::string_view text, ado::LoadValue& value, std::string& misfit) {
  const bool isTrue = IsAmong({"1", "-1", "true", "yes", "t"}, text) ||
                      ((flags & kForceConvert) && NumberOf<std::int64_t>(text).value_or(0) != 0);
  if (!isTrue && !IsAmong({"0", "false", "no", "f"}, text))
    return Refuse("is neither true nor false", misfit);
  value = std::int64_t{isTrue};
  return true;
}

bool FitDate(unsigned flags, std::string_view& text, std::string& misfit) {
  if (IsDate(text)) return true;
  // A date that comes as a date with time loses nothing at midnight.
  constexpr std::size_t kDateEnd = 10;
  const std::string_view time = text.substr(std::min(kDateEnd + 1, text.size()));
  const bool separated = text.size() > kDateEnd && (text[kDateEnd] == ' ' || text[kDateEnd] == 'T');
  if (!separated || !IsDate(text.substr(0, kDateEnd)) || !IsTime(time))
    return Refuse("is not a date of the form YYYY-MM-DD", misfit);
  if (time.find_first_not_of("0:.") != std::string_view::npos && !(flags & kAllowDemotion))
    return Refuse("is a date with a time, and the time would be lost (allow \"demotion\")", misfit);
  text = text.substr(0, kDateEnd);
  return true;
}

/// Stored as "YYYY-MM-DD HH:MM:SS" and the fraction that the text has.
bool FitDateTime(std::string_view& text, RowBatch& batch, std::string& misfit) {
  if (IsDateTime(text)) return true;
  constexpr std::size_t kDateEnd = 10, kMinutesEnd = 5;
  const std::string_view date = text.substr(0, kDateEnd);
  const std::string_view rest = text.substr(date.size());
  const std::string_view time = rest.substr(rest.empty() ? 0 : 1);
  const bool separated = rest.starts_with(' ') || rest.starts_with('T');
  if (!IsDate(date) || !(rest.empty() || (separated && IsTime(time))))
    return Refuse("is not a date and time of the form YYYY-MM-DD HH:MM:SS", misfit);
  std::string stored(date);
  stored.append(" ").append(time);
  if (time.empty()) stored += "00:00:00";
  if (time.size() == kMinutesEnd) stored += ":00";
  text = batch.Store(stored);
  return true;
}

/// The room that a character of so many bytes takes in a column.
std::size_t UnitsOf(ado::TextUnit unit, std::size_t bytes) {
  switch (unit) {
    case ado::TextUnit::Characters: break;
    case ado::TextUnit::Utf16: return bytes > 3 ? 2 : 1;
    case ado::TextUnit::Utf8: return bytes;
  }
  return 1;
}

/// What of a text takes no more than `room` units; `units` are those of the whole text.
std::string_view FirstUnits(ado::TextUnit unit, std::string_view text, std::size_t room,
                            std::size_t& units) {
  std::size_t fits = 0;
  units = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = std::max<std::size_t>(1, CharacterLength(text.substr(at)));
    units += UnitsOf(unit, bytes);
    at += bytes;
    if (units <= room) fits = at;
  }
  return text.substr(0, fits);
}

bool FitText(const ado::Column& column, unsigned flags, std::string_view& text,
             std::string& misfit) {
  const auto room = static_cast<std::size_t>(column.size);
  // A text has at most as many units as bytes, so counting is for the rare long ones.
  if (room == 0 || text.size() <= room) return true;
  std::size_t units = 0;
  const std::string_view first = FirstUnits(column.unit, text, room, units);
  if (units <= room) return true;
  if (flags & kAllowStringTruncation) return text = first, true;
  const char* name = column.unit == ado::TextUnit::Characters ? " characters, "
                     : column.unit == ado::TextUnit::Utf16    ? " UTF-16 units, "
                                                              : " bytes of UTF-8, ";
  const bool isUsual = units == CountCharacters(text);
  return Refuse("has " + std::to_string(units) + (isUsual ? " characters, " : name) +
                    std::to_string(room) + " fit",
                misfit);
}

/// The text without white space around it; mostly there is none.
std::string_view Bare(std::string_view text) {
  const bool isBare = !text.empty() && text.front() > ' ' && text.back() > ' ';
  return isBare ? text : Trimmed(text, kWhiteSpace);
}

bool FitTextValue(const ado::Column& column, unsigned flags, ado::LoadValue& value, RowBatch& batch,
                  std::string& misfit) {
  using enum ado::ColumnKind;
  std::string_view text = value.Text();
  if (column.kind == Binary) return true;
  if (column.kind != Text && (text = Bare(text)).empty()) {
    value = {};
    return true;
  }
  bool fits = false;
  switch (column.kind) {
    case Integer: return FitInteger(column, flags, text, value, misfit);
    case Real: return FitReal(text, value, misfit);
    case Boolean: return FitBoolean(flags, text, value, misfit);
    case Decimal: fits = FitDecimal(column, flags, text, misfit); break;
    case Date: fits = FitDate(flags, text, misfit); break;
    case DateTime: fits = FitDateTime(text, batch, misfit); break;
    case Text: fits = FitText(column, flags, text, misfit); break;
    case Binary: break;
  }
  if (fits) value = text;
  return fits;
}

/// True for a number that its column takes as a number.
bool StaysNumber(const ado::Column& column, const ado::LoadValue& value) {
  using enum ado::ColumnKind;
  const double number = value.GetKind() == ado::LoadValue::Kind::Integer
                            ? static_cast<double>(value.Integer())
                            : value.Real();
  if (column.kind == Real) return std::isfinite(number);
  if (column.kind != Decimal || !std::isfinite(number)) return false;
  const bool exact = value.GetKind() == ado::LoadValue::Kind::Integer;
  return column.precision == 0 ? exact
                               : std::abs(number) < PowerOfTen(column.precision - column.scale) &&
                                     column.precision <= std::numeric_limits<double>::digits10;
}

/// The whole number that a number is, or is cut to; nothing where it is none or too large for any
/// column.
std::optional<std::int64_t> WholeOf(const ado::LoadValue& value, unsigned flags) {
  if (value.GetKind() == ado::LoadValue::Kind::Integer) return value.Integer();
  constexpr double kTooLarge = 9223372036854775808.0;  // 2^63
  const double whole = std::trunc(value.Real());
  const bool isWhole = whole == value.Real() || (flags & kAllowNumericTruncation);
  if (!isWhole || !(std::abs(whole) < kTooLarge)) return std::nullopt;
  return static_cast<std::int64_t>(whole);
}

/// True when a query's value is of the type that its column has.
bool HasExactType(ado::ColumnKind column, ado::LoadValue::Kind value) {
  using enum ado::ColumnKind;
  switch (column) {
    case Integer:
    case Boolean: return value == ado::LoadValue::Kind::Integer;
    case Real: return value == ado::LoadValue::Kind::Real;
    case Decimal: return value != ado::LoadValue::Kind::Integer;
    default: return value == ado::LoadValue::Kind::Text;
  }
}

}  // namespace

bool FitValue(const ado::Column& column, unsigned flags, ado::LoadValue& value, RowBatch& batch,
              std::string& misfit) {
  if (flags & kForceConvert) flags |= 63;
  if ((flags & kRequireExactType) && !HasExactType(column.kind, value.GetKind()))
    return Refuse("is of another type than its column, and no conversion is allowed", misfit);
  if (value.IsText()) return FitTextValue(column, flags, value, batch, misfit);
  if (StaysNumber(column, value)) return true;
  if (column.kind == ado::ColumnKind::Integer) {
    if (auto number = WholeOf(value, flags)) {
      if (!FitWhole(column, flags, *number, misfit)) return false;
      value = *number;
      return true;
    }
  }
  value = TextOfValue(value, batch);
  return FitTextValue(column, flags, value, batch, misfit);
}

bool FillNull(const ado::Column& column, unsigned flags, ado::LoadValue& value) {
  using enum ado::ColumnKind;
  if (!(flags & (kAllowNullChange | kForceConvert))) return false;
  switch (column.kind) {
    case Integer:
    case Decimal:
    case Real:
    case Boolean: value = std::int64_t{0}; return true;
    case Text:
    case Binary: value = ""; return true;
    case Date:
    case DateTime: break;
  }
  return false;
}

std::string_view TextOfValue(const ado::LoadValue& value, RowBatch& batch) {
  char text[400];  // the longest double in fixed notation has 309 digits and a fraction
  char* const end = text + sizeof text;
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Integer:
      return batch.Store({text, std::to_chars(text, end, value.Integer()).ptr});
    case ado::LoadValue::Kind::Real: {
      const bool fixed = std::abs(value.Real()) < 1e15 && std::abs(value.Real()) >= 1e-5;
      const auto written = fixed ? std::to_chars(text, end, value.Real(), std::chars_format::fixed)
                                 : std::to_chars(text, end, value.Real());
      return batch.Store({text, written.ptr});
    }
    case ado::LoadValue::Kind::Text: return value.Text();
    case ado::LoadValue::Kind::Null: break;
  }
  return {};
}

}  // namespace torvik::engine
