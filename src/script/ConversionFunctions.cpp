#include <cmath>
#include <cstdio>
#include <limits>

#include "script/Conversion.h"
#include "script/Functions.h"

namespace torvik::script {

namespace {

Value CBool(Context&, Arguments a) {
  return Value::OfBoolean(ToBoolean(a[0]));
}
Value CInt(Context&, Arguments a) {
  return Value::OfInteger(ToInteger(a[0]));
}
Value CLng(Context&, Arguments a) {
  return Value::OfLong(ToLong(a[0]));
}
Value CDbl(Context&, Arguments a) {
  return Value::OfDouble(ToDouble(a[0]));
}
Value CCur(Context&, Arguments a) {
  return Value::OfCurrency(ToCurrency(a[0]));
}
Value CDate(Context&, Arguments a) {
  return Value::OfDate(ToDate(a[0]));
}
Value CStr(Context& context, Arguments a) {
  return ToTextValue(a[0], &context.heap);
}

Value CByte(Context&, Arguments a) {
  const std::int32_t number = ToLong(a[0]);
  if (number < 0 || number > 255) throw Overflow();
  return Value::OfByte(static_cast<std::uint8_t>(number));
}

Value CSng(Context&, Arguments a) {
  const double number = ToDouble(a[0]);
  if (std::abs(number) > std::numeric_limits<float>::max()) throw Overflow();
  return Value::OfSingle(static_cast<float>(number));
}

/// Negative numbers show their 16 or 32 bits.
Value InRadix(Context& context, const Value& value, const char* format) {
  if (value.Is(Kind::Null)) return value;
  const std::int32_t number = ToLong(value);
  const bool isShort = value.Is(Kind::Integer) || value.Is(Kind::Boolean);
  char buffer[20];
  std::snprintf(buffer, sizeof buffer, format,
                isShort ? static_cast<std::uint32_t>(static_cast<std::uint16_t>(number))
                        : static_cast<std::uint32_t>(number));
  return Value::OfText(buffer, &context.heap);
}

Value Hex(Context& context, Arguments a) {
  return InRadix(context, a[0], "%X");
}
Value Oct(Context& context, Arguments a) {
  return InRadix(context, a[0], "%o");
}

constexpr Function conversionFunctions[] = {
    {"cbool", 1, 1, CBool}, {"cbyte", 1, 1, CByte}, {"cint", 1, 1, CInt}, {"clng", 1, 1, CLng},
    {"csng", 1, 1, CSng},   {"cdbl", 1, 1, CDbl},   {"ccur", 1, 1, CCur}, {"cdate", 1, 1, CDate},
    {"cstr", 1, 1, CStr},   {"hex", 1, 1, Hex},     {"oct", 1, 1, Oct},
};

}  // namespace

std::span<const Function> ConversionFunctions() {
  return conversionFunctions;
}

}  // namespace torvik::script
