#pragma once

#include <algorithm>
#include <cmath>

#include "script/Conversion.h"
#include "script/Operators.h"

/// The most usual cases of operators, in line. Each answers false, and leaves `a` as it was, for a
/// case that is none of them.
namespace torvik::script {

inline bool QuickArithmetic(Operator op, Value& a, const Value& b) {
  const auto isPlain = [](const Value& v) { return v.Is(Kind::Integer) || v.Is(Kind::Long); };
  if (isPlain(a) && isPlain(b)) {
    const Kind kind = std::max(a.Type(), b.Type());
    const std::int64_t x = a.Whole(), y = b.Whole();
    switch (op) {
      case Operator::Add: a = FitWhole(x + y, kind); return true;
      case Operator::Subtract: a = FitWhole(x - y, kind); return true;
      case Operator::Multiply: a = FitWhole(x * y, kind); return true;
      case Operator::Modulo:
        if (y == 0) return false;
        a = FitWhole(x % y, kind);
        return true;
      default: return false;
    }
  }
  const auto isDouble = [](const Value& v) { return v.Is(Kind::Double); };
  if (!(isDouble(a) || isPlain(a)) || !(isDouble(b) || isPlain(b))) return false;
  const double x = isDouble(a) ? a.Real() : static_cast<double>(a.Whole());
  const double y = isDouble(b) ? b.Real() : static_cast<double>(b.Whole());
  double number = 0;
  switch (op) {
    case Operator::Add: number = x + y; break;
    case Operator::Subtract: number = x - y; break;
    case Operator::Multiply: number = x * y; break;
    default: return false;
  }
  if (!std::isfinite(number)) return false;
  a = Value::OfDouble(number);
  return true;
}

inline bool QuickComparison(Operator op, Value& a, const Value& b) {
  if (!a.IsWhole() || !b.IsWhole()) return false;
  const std::int64_t x = a.Whole(), y = b.Whole();
  bool result = false;
  switch (op) {
    case Operator::Equal: result = x == y; break;
    case Operator::NotEqual: result = x != y; break;
    case Operator::Less: result = x < y; break;
    case Operator::LessOrEqual: result = x <= y; break;
    case Operator::Greater: result = x > y; break;
    default: result = x >= y; break;
  }
  a = Value::OfBoolean(result);
  return true;
}

}  // namespace torvik::script
