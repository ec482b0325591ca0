#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/Functions.h"

namespace torvik::script {

namespace {

/// The decimal digits of a number with `places` behind the point, rounded half up in the 15 digits
/// that the language shows.
std::string Fixed(double number, int places) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.14e", number);
  std::string digits(1, buffer[0]);
  digits.append(buffer + 2, 14);
  const int exponent = std::atoi(buffer + 17);
  if (exponent < 0) digits.insert(0, static_cast<std::size_t>(std::min(-exponent, 400)), '0');
  std::size_t whole = exponent < 0 ? 1 : static_cast<std::size_t>(exponent) + 1;
  const std::size_t kept = whole + static_cast<std::size_t>(places);
  if (digits.size() <= kept) digits.resize(kept + 1, '0');
  const bool up = digits[kept] >= '5';
  digits.resize(kept);
  for (std::size_t i = kept; up;) {
    if (i == 0) {
      digits.insert(0, 1, '1');
      ++whole;
      break;
    }
    if (digits[--i] != '9') {
      ++digits[i];
      break;
    }
    digits[i] = '0';
  }
  if (places > 0) digits.insert(whole, 1, '.');
  return digits;
}

void Group(std::string& digits) {
  const std::size_t point = std::min(digits.find('.'), digits.size());
  for (std::size_t at = point; at > 3;) digits.insert(at -= 3, 1, ',');
}

/// The settings behind the number: digits, leading zero, parentheses, groups; -2 is the default.
std::string Formatted(Arguments a, double number, std::string_view before, std::string_view behind,
                      bool parentheses) {
  const std::int32_t places = LongOr(a, 1, -1);
  if (places < -1 || places > 255) throw InvalidCall();
  const auto isSet = [&](std::size_t index, bool otherwise) {
    const std::int32_t setting = LongOr(a, index, -2);
    return setting == -2 ? otherwise : setting != 0;
  };
  std::string digits = Fixed(std::abs(number), places < 0 ? 2 : places);
  const bool isZero = digits.find_first_of("123456789") == std::string::npos;
  if (!isSet(2, true) && digits.starts_with("0.")) digits.erase(0, 1);
  if (isSet(4, true)) Group(digits);
  std::string text = std::string(before) + digits + std::string(behind);
  if (number >= 0 || isZero) return text;
  return isSet(3, parentheses) ? "(" + text + ")" : "-" + text;
}

Value FormatNumber(Context& context, Arguments a) {
  return Value::OfText(Formatted(a, ToDouble(a[0]), "", "", false), &context.heap);
}

Value FormatCurrency(Context& context, Arguments a) {
  return Value::OfText(Formatted(a, ToDouble(a[0]), "$", "", true), &context.heap);
}

Value FormatPercent(Context& context, Arguments a) {
  const double number = ToDouble(a[0]) * 100;
  if (!std::isfinite(number)) throw Overflow();
  return Value::OfText(Formatted(a, number, "", "%", false), &context.heap);
}

Value FormatDateTime(Context& context, Arguments a) {
  const std::int32_t format = LongOr(a, 1, 0);
  if (format < 0 || format > 4) throw InvalidCall("FormatDateTime");
  return Value::OfText(TextOfDate(ToDate(a[0]), static_cast<DateFormat>(format)), &context.heap);
}

constexpr Function formatFunctions[] = {
    {"formatnumber", 1, 5, FormatNumber},
    {"formatcurrency", 1, 5, FormatCurrency},
    {"formatpercent", 1, 5, FormatPercent},
    {"formatdatetime", 1, 2, FormatDateTime},
};

}  // namespace

std::span<const Function> FormatFunctions() {
  return formatFunctions;
}

}  // namespace torvik::script
