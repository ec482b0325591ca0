#include "engine/model/ScriptValues.h"

#include <cstdio>

#include "script/DateText.h"

namespace torvik::engine {

using script::Value;

Value ScriptValueOf(const ado::LoadValue& value, script::Heap* heap) {
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Text: return Value::OfText(value.Text(), heap);
    case ado::LoadValue::Kind::Integer: return Value::OfWhole(value.Integer());
    case ado::LoadValue::Kind::Real: return Value::OfDouble(value.Real());
    case ado::LoadValue::Kind::Null: break;
  }
  return Value::OfNull();
}

Value ScriptValueOf(const ado::Value& value, script::Heap* heap) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return Value::OfWhole(*number);
  if (const auto* number = std::get_if<double>(&value)) return Value::OfDouble(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return Value::OfText(*text, heap);
  if (const auto* blob = std::get_if<ado::Blob>(&value)) return Value::OfText(blob->bytes, heap);
  return Value::OfNull();
}

std::string DateText(double days) {
  const script::DateParts at = script::PartsOfDate(days);
  char text[32];
  const bool hasTime = at.hour != 0 || at.minute != 0 || at.second != 0;
  const int size =
      hasTime ? std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", at.year, at.month,
                              at.day, at.hour, at.minute, at.second)
              : std::snprintf(text, sizeof text, "%04d-%02d-%02d", at.year, at.month, at.day);
  return {text, static_cast<std::size_t>(size)};
}

std::string CurrencyText(std::int64_t tenThousandths) {
  const bool isNegative = tenThousandths < 0;
  const auto size = isNegative ? std::uint64_t{0} - static_cast<std::uint64_t>(tenThousandths)
                               : static_cast<std::uint64_t>(tenThousandths);
  std::string fraction = std::to_string(10'000 + size % 10'000);
  fraction[0] = '.';
  return (isNegative ? "-" : "") + std::to_string(size / 10'000) + fraction;
}

}  // namespace torvik::engine
