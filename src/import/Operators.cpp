#include "import/Operators.h"

#include <cmath>
#include <cstdint>

#include "platform/Text.h"
#include "script/Conversion.h"

namespace torvik::importing {
namespace {

using script::Operator;

bool IsOpen(const Value& value) {
  return value.isUnknown || value.isUnset;
}

std::optional<Value> SameObject(const Value& left, const Value& right) {
  const auto isNothing = [](const Value& value) {
    return value.kind == Value::Kind::Empty && !value.isUnset;
  };
  const bool areObjects =
      left.IsObject() || right.IsObject() || isNothing(left) || isNothing(right);
  if (!areObjects || IsOpen(left) || IsOpen(right)) return std::nullopt;
  return Value::OfBoolean(left.object == right.object);
}

std::optional<Value> Logical(Operator op, const Value& left, const Value& right) {
  const bool decides = op == Operator::Or;
  const bool areNumbers = left.kind == Value::Kind::Number && right.kind == Value::Kind::Number;
  constexpr double kMost = 4294967295;  // masks of bits
  if (areNumbers && std::abs(left.number) <= kMost && std::abs(right.number) <= kMost) {
    const auto a = static_cast<std::int64_t>(left.number);
    const auto b = static_cast<std::int64_t>(right.number);
    return Value::OfNumber(static_cast<double>(decides ? a | b : a & b));
  }
  const auto a = TruthOf(left), b = TruthOf(right);
  if ((a && *a == decides) || (b && *b == decides)) return Value::OfBoolean(decides);
  if (!a || !b) return std::nullopt;
  return Value::OfBoolean(!decides);
}

Value Compared(Operator op, const Value& left, const Value& right) {
  int order = 0;
  const auto a = NumberOf(left), b = NumberOf(right);
  const bool areTexts = left.kind == Value::Kind::Text && right.kind == Value::Kind::Text;
  if (a && b && !areTexts)
    order = *a < *b ? -1 : *a > *b ? 1 : 0;
  else
    order = left.DocumentText().compare(right.DocumentText());
  switch (op) {
    case Operator::Equal: return Value::OfBoolean(order == 0);
    case Operator::NotEqual: return Value::OfBoolean(order != 0);
    case Operator::Less: return Value::OfBoolean(order < 0);
    case Operator::LessOrEqual: return Value::OfBoolean(order <= 0);
    case Operator::Greater: return Value::OfBoolean(order > 0);
    default: return Value::OfBoolean(order >= 0);
  }
}

std::optional<Value> Calculated(Operator op, const Value& left, const Value& right) {
  const auto a = NumberOf(left), b = NumberOf(right);
  if (!a || !b) return std::nullopt;
  double result = NAN;
  switch (op) {
    case Operator::Add: result = *a + *b; break;
    case Operator::Subtract: result = *a - *b; break;
    case Operator::Multiply: result = *a * *b; break;
    case Operator::Divide: result = *a / *b; break;
    case Operator::WholeDivide: result = std::trunc(std::nearbyint(*a) / std::nearbyint(*b)); break;
    case Operator::Modulo: result = std::fmod(std::nearbyint(*a), std::nearbyint(*b)); break;
    case Operator::Power: result = std::pow(*a, *b); break;
    default: break;
  }
  if (!std::isfinite(result)) return std::nullopt;
  return Value::OfNumber(result);
}

/// "+" joins texts, and adds where one operand at least is a number.
bool JoinsTexts(Operator op, const Value& left, const Value& right) {
  if (op == Operator::Concatenate) return true;
  const bool hasText = left.kind == Value::Kind::Text || right.kind == Value::Kind::Text;
  return op == Operator::Add && hasText &&
         (!NumberOf(left) || !NumberOf(right) || left.kind == right.kind);
}

}  // namespace

Value Plain(Value value) {
  if (!value.IsObject()) return value;
  if (const Property* property = value.object->Find("Value")) return property->value;
  return value.object->kind == "property" ? Value() : value;
}

std::optional<double> NumberOf(const Value& value) {
  if (IsOpen(value)) return std::nullopt;
  if (value.kind == Value::Kind::Number || value.kind == Value::Kind::Boolean) return value.number;
  if (value.kind == Value::Kind::Text) return script::NumberOfText(value.text);
  return std::nullopt;
}

std::optional<bool> TruthOf(const Value& value) {
  if (IsOpen(value)) return std::nullopt;
  if (const auto number = NumberOf(value)) return *number != 0;
  if (EqualsIgnoringCase(value.text, "true")) return true;
  if (EqualsIgnoringCase(value.text, "false")) return false;
  return std::nullopt;
}

Value Joined(const Value& left, const Value& right) {
  Value joined;
  joined.kind = Value::Kind::Text;
  joined.text = left.DocumentText() + right.DocumentText();
  joined.isUnknown = left.isUnknown || right.isUnknown;
  return joined;
}

std::optional<Value> Result(Operator op, const Value& operand) {
  if (op == Operator::Not) {
    if (const auto truth = TruthOf(operand)) return Value::OfBoolean(!*truth);
    return std::nullopt;
  }
  const auto number = NumberOf(operand);
  if (!number) return std::nullopt;
  return Value::OfNumber(op == Operator::Negate ? -*number : *number);
}

std::optional<Value> Result(Operator op, const Value& left, const Value& right) {
  if (op == Operator::Is) return SameObject(left, right);
  if (op == Operator::And || op == Operator::Or) return Logical(op, left, right);
  if (JoinsTexts(op, left, right)) return Joined(left, right);
  if (IsOpen(left) || IsOpen(right)) return std::nullopt;
  if (op >= Operator::Equal && op <= Operator::GreaterOrEqual) return Compared(op, left, right);
  return Calculated(op, left, right);
}

}  // namespace torvik::importing
