#include "engine/pump/Conversion.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include "engine/pump/RowBatch.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The digits that `text` begins with.
std::string_view Digits(std::string_view text) {
  return text.substr(
      0, static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin()));
}

/// A plus sign means nothing, and not every server reads it.
void DropPlus(std::string_view& text) {
  if (text[0] == '+' && !text.substr(1).starts_with('-')) text.remove_prefix(1);
}

std::string FitInteger(const ado::Column& column, std::string_view& text) {
  DropPlus(text);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size())
    return "is not a whole number";
  const int bytes = column.size > 0 ? column.size : 8;
  const std::int64_t highest = std::numeric_limits<std::int64_t>::max() >> (64 - 8 * bytes);
  if (error != std::errc() || number > highest || number < -highest - 1)
    return "does not fit a whole number of " + std::to_string(bytes) + " bytes";
  return {};
}

std::string FitDecimal(const ado::Column& column, std::string_view& text) {
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
  if (!rest.empty() || (whole.empty() && fraction.empty())) return "is not a decimal number";
  whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));
  const int room = column.precision - column.scale;
  if (column.precision > 0 && whole.size() > static_cast<std::size_t>(room))
    return "has more than " + std::to_string(room) + " digits before the point";
  return {};
}

std::string FitReal(std::string_view& text) {
  DropPlus(text);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size() ||
      !std::isfinite(number))
    return "is not a number";
  return error == std::errc() ? "" : "is outside the range of a floating-point number";
}

std::string FitBoolean(std::string_view& text) {
  for (const std::string_view word : {"1", "-1", "true", "yes"})
    if (EqualsIgnoringCase(text, word)) return text = "1", "";
  for (const std::string_view word : {"0", "false", "no"})
    if (EqualsIgnoringCase(text, word)) return text = "0", "";
  return "is neither true nor false";
}

/// True when `text` has the shape of `pattern`, in which 9 stands for a digit.
bool HasShape(std::string_view text, std::string_view pattern) {
  return std::ranges::equal(
      text, pattern, [](char c, char shape) { return shape == '9' ? IsDigit(c) : c == shape; });
}

/// The number that the digits at `first` make.
int NumberAt(std::string_view text, std::size_t first, std::size_t digits) {
  int number = 0;
  for (const char c : text.substr(first, digits)) number = number * 10 + (c - '0');
  return number;
}

bool IsDate(std::string_view text) {
  if (!HasShape(text, "9999-99-99")) return false;
  const std::chrono::year_month_day day{
      std::chrono::year(NumberAt(text, 0, 4)),
      std::chrono::month(static_cast<unsigned>(NumberAt(text, 5, 2))),
      std::chrono::day(static_cast<unsigned>(NumberAt(text, 8, 2)))};
  return day.ok() && day.year() > std::chrono::year(0);
}

/// HH:MM, HH:MM:SS, or that with a fraction of one to nine digits.
bool IsTime(std::string_view text) {
  constexpr std::size_t kSecondsEnd = 8, kMaxFraction = 9;
  const bool hasSeconds = HasShape(text.substr(0, kSecondsEnd), "99:99:99");
  if (!hasSeconds && !HasShape(text, "99:99")) return false;
  if (NumberAt(text, 0, 2) > 23 || NumberAt(text, 3, 2) > 59) return false;
  if (!hasSeconds) return true;
  if (NumberAt(text, 6, 2) > 59) return false;
  const std::string_view fraction = text.substr(kSecondsEnd);
  if (fraction.empty()) return true;
  const std::size_t digits = Digits(fraction.substr(1)).size();
  return fraction[0] == '.' && digits > 0 && digits <= kMaxFraction &&
         digits + 1 == fraction.size();
}

std::string FitDate(std::string_view text) {
  return IsDate(text) ? "" : "is not a date of the form YYYY-MM-DD";
}

/// Stored as "YYYY-MM-DD HH:MM:SS" and the fraction that the text has.
std::string FitDateTime(std::string_view& text, RowBatch& batch) {
  constexpr std::size_t kDateEnd = 10, kMinutesEnd = 5, kSecondsEnd = 8;
  const std::string_view date = text.substr(0, kDateEnd);
  const std::string_view rest = text.substr(date.size());
  const std::string_view time = rest.substr(rest.empty() ? 0 : 1);
  const bool separated = rest.starts_with(' ') || rest.starts_with('T');
  if (!IsDate(date) || !(rest.empty() || (separated && IsTime(time))))
    return "is not a date and time of the form YYYY-MM-DD HH:MM:SS";
  if (rest.starts_with(' ') && time.size() >= kSecondsEnd) return {};
  std::string stored(date);
  stored.append(" ").append(time);
  if (time.empty()) stored += "00:00:00";
  if (time.size() == kMinutesEnd) stored += ":00";
  text = batch.Store(stored);
  return {};
}

std::string FitText(const ado::Column& column, std::string_view text) {
  const auto room = static_cast<std::size_t>(column.size);
  // A text has at most as many characters as bytes, so counting is for the rare long ones.
  if (room == 0 || text.size() <= room) return {};
  const std::size_t characters = CountCharacters(text);
  if (characters <= room) return {};
  return "has " + std::to_string(characters) + " characters, " + std::to_string(room) + " fit";
}

}  // namespace

std::string FitValue(const ado::Column& column, ado::LoadValue& value, RowBatch& batch) {
  using enum ado::ColumnKind;
  if (column.kind == Text) return FitText(column, *value);
  if (column.kind == Binary) return {};
  std::string_view text = Trimmed(*value);
  if (text.empty()) {
    value.reset();
    return {};
  }
  std::string misfit;
  switch (column.kind) {
    case Integer: misfit = FitInteger(column, text); break;
    case Decimal: misfit = FitDecimal(column, text); break;
    case Real: misfit = FitReal(text); break;
    case Boolean: misfit = FitBoolean(text); break;
    case Date: misfit = FitDate(text); break;
    case DateTime: misfit = FitDateTime(text, batch); break;
    case Text:
    case Binary: break;
  }
  value = text;
  return misfit;
}

}  // namespace torvik::engine
