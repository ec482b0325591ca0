#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "script/Value.h"

/// The language's conversions. Each throws Type mismatch, Overflow or Invalid use of Null where the
/// value cannot become what is asked for. An object must have been replaced by its default value.
namespace torvik::script {

/// Whole numbers are rounded half to even.
std::int32_t ToLong(const Value& value);
std::int16_t ToInteger(const Value& value);
double ToDouble(const Value& value);
bool ToBoolean(const Value& value);
/// In ten-thousandths.
std::int64_t ToCurrency(const Value& value);
/// In days since 1899-12-30; texts are read as US English dates.
double ToDate(const Value& value);
std::string ToText(const Value& value);
/// The value itself when it is a text, otherwise its text on `heap`.
Value ToTextValue(const Value& value, Heap* heap);

/// The number that a text spells: signs, thousands separators, "$", parentheses for negative
/// numbers, exponents, &H and &O.
std::optional<double> NumberOfText(std::string_view text);

/// Up to `digits` significant digits, as the language writes numbers: "0.5", "1E+15".
std::string TextOfNumber(double number, int digits = 15);

/// The nearest whole number, half to even.
double RoundHalfEven(double number);

/// The value of the narrowest kind, from `least` on, of Byte, Integer, Long, Double that holds it.
inline Value FitWhole(std::int64_t number, Kind least) {
  if (least <= Kind::Byte && number == static_cast<std::uint8_t>(number))
    return Value::OfByte(static_cast<std::uint8_t>(number));
  if (least <= Kind::Integer && number == static_cast<std::int16_t>(number))
    return Value::OfInteger(static_cast<std::int16_t>(number));
  if (number == static_cast<std::int32_t>(number))
    return Value::OfLong(static_cast<std::int32_t>(number));
  return Value::OfDouble(static_cast<double>(number));
}

}  // namespace torvik::script
