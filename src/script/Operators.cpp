#include "script/Operators.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/LetterCase.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

/// The kind that an operand takes part as: Integer and up.
Kind NumericKind(const Value& value) {
  switch (value.Type()) {
    case Kind::Empty:
    case Kind::Boolean: return Kind::Integer;
    case Kind::Text: return Kind::Double;
    case Kind::Byte:
    case Kind::Integer:
    case Kind::Long:
    case Kind::Single:
    case Kind::Double:
    case Kind::Currency:
    case Kind::Date: return value.Type();
    default: throw TypeMismatch();
  }
}

std::int64_t WholeOf(const Value& value) {
  return value.Is(Kind::Empty) ? 0 : value.Whole();
}

Value AsDate(double days) {
  if (!IsDateNumber(days)) throw Overflow();
  return Value::OfDate(days);
}

double Real(Operator op, double a, double b) {
  if (op == Operator::Add) return a + b;
  return op == Operator::Subtract ? a - b : a * b;
}

Value WholeArithmetic(Operator op, std::int64_t a, std::int64_t b, Kind kind) {
  if (op == Operator::Add) return FitWhole(a + b, kind);
  return FitWhole(op == Operator::Subtract ? a - b : a * b, kind);
}

Value CurrencyArithmetic(Operator op, const Value& a, const Value& b) {
  const std::int64_t x = ToCurrency(a), y = ToCurrency(b);
  std::int64_t result = 0;
  bool tooLarge = false;
  if (op == Operator::Multiply) {
    const long double product = static_cast<long double>(x) * static_cast<long double>(y) / 10000;
    tooLarge = std::abs(product) >= 9.2e18L;
    if (!tooLarge) result = static_cast<std::int64_t>(std::nearbyint(product));
  } else {
    tooLarge = op == Operator::Add ? __builtin_add_overflow(x, y, &result)
                                   : __builtin_sub_overflow(x, y, &result);
  }
  if (tooLarge) throw Overflow();
  return Value::OfCurrency(result);
}

/// Addition, subtraction and multiplication of numbers of any kinds.
Value MixedArithmetic(Operator op, const Value& a, const Value& b) {
  const Kind x = NumericKind(a), y = NumericKind(b);
  const Kind widest = x > y ? x : y, other = x > y ? y : x;
  if (widest <= Kind::Long) return WholeArithmetic(op, WholeOf(a), WholeOf(b), widest);
  if (widest == Kind::Date && op != Operator::Multiply) {
    const double days = Real(op, ToDouble(a), ToDouble(b));
    if (op == Operator::Subtract && x == y) return Finite(days);
    return AsDate(days);
  }
  if (widest == Kind::Currency && other != Kind::Single && other != Kind::Double)
    return CurrencyArithmetic(op, a, b);
  const double number = Real(op, ToDouble(a), ToDouble(b));
  if (widest == Kind::Single && other != Kind::Long &&
      std::abs(number) <= std::numeric_limits<float>::max())
    return Value::OfSingle(static_cast<float>(number));
  return Finite(number);
}

Value Quotient(const Value& a, const Value& b) {
  const double x = ToDouble(a), y = ToDouble(b);
  if (y == 0) throw x == 0 ? Overflow() : RuntimeError(11);
  if (a.Is(Kind::Single) && b.Is(Kind::Single)) return Value::OfSingle(static_cast<float>(x / y));
  return Finite(x / y);
}

Value WholeQuotient(Operator op, const Value& a, const Value& b) {
  const std::int64_t x = ToLong(a), y = ToLong(b);
  if (y == 0) throw RuntimeError(11);
  Kind kind = NumericKind(a) > NumericKind(b) ? NumericKind(a) : NumericKind(b);
  if (kind > Kind::Long) kind = Kind::Long;
  return FitWhole(op == Operator::Modulo ? x % y : x / y, kind);
}

Value RaisedTo(const Value& a, const Value& b) {
  const double x = ToDouble(a), y = ToDouble(b);
  if ((x == 0 && y < 0) || (x < 0 && y != std::trunc(y))) throw InvalidCall();
  return Finite(std::pow(x, y));
}

/// The bits that And, Or and the others combine.
std::int32_t Bits(const Value& value) {
  if (value.Is(Kind::Text)) {
    if (!NumberOfText(value.View())) return ToBoolean(value) ? -1 : 0;
  }
  return ToLong(value);
}

std::int32_t Combine(Operator op, std::int32_t a, std::int32_t b) {
  switch (op) {
    case Operator::And: return a & b;
    case Operator::Or: return a | b;
    case Operator::Xor: return a ^ b;
    case Operator::Equivalent: return ~(a ^ b);
    default: return ~a | b;
  }
}

/// The result is known although one side is Null: False And Null, True Or Null, False Imp Null,
/// Null Imp True.
bool IsKnownBesideNull(Operator op, const Value& other, bool nullIsLeft) {
  if (other.Is(Kind::Null)) return false;
  const std::int32_t bits = Bits(other);
  if (op == Operator::And) return bits == 0;
  if (op == Operator::Or) return bits == -1;
  if (op == Operator::Implies) return nullIsLeft ? bits == -1 : bits == 0;
  return false;
}

/// Byte, Integer or Long, or Boolean where both sides are.
Value BitsAs(std::int32_t bits, Kind a, Kind b) {
  if (a == Kind::Boolean && b == Kind::Boolean) return Value::OfBoolean(bits != 0);
  if (a == Kind::Byte && b == Kind::Byte) return Value::OfByte(static_cast<std::uint8_t>(bits));
  const auto isShort = [](Kind k) {
    return k == Kind::Empty || k == Kind::Null || (k >= Kind::Boolean && k <= Kind::Integer);
  };
  if (isShort(a) && isShort(b)) return Value::OfInteger(static_cast<std::int16_t>(bits));
  return Value::OfLong(bits);
}

int Sign(double difference) {
  return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

int CompareWithText(const Value& number, const Value& text, bool numberIsLiteral,
                    bool textIsLiteral) {
  if (numberIsLiteral) {
    if (number.Is(Kind::Boolean)) return Sign(ToDouble(number) + (ToBoolean(text) ? 1 : 0));
    if (number.Is(Kind::Date)) return Sign(number.Real() - ToDate(text));
    return Sign(ToDouble(number) - ToDouble(text));
  }
  if (textIsLiteral) return CompareTexts(ToText(number), text.View(), false);
  return -1;
}

}  // namespace

Value Finite(double number) {
  if (!std::isfinite(number)) throw Overflow();
  return Value::OfDouble(number);
}

Value Arithmetic(Operator op, const Value& a, const Value& b, Heap* heap) {
  if (a.Is(Kind::Null) || b.Is(Kind::Null)) return Value::OfNull();
  switch (op) {
    case Operator::Add:
      if (a.Is(Kind::Text) && b.Is(Kind::Text)) return Concatenation(a, b, heap);
      if (a.Is(Kind::Text) && b.Is(Kind::Empty)) return a;
      if (a.Is(Kind::Empty) && b.Is(Kind::Text)) return b;
      return MixedArithmetic(op, a, b);
    case Operator::Subtract:
    case Operator::Multiply: return MixedArithmetic(op, a, b);
    case Operator::Divide: return Quotient(a, b);
    case Operator::Power: return RaisedTo(a, b);
    default: return WholeQuotient(op, a, b);
  }
}

Value Concatenation(const Value& a, const Value& b, Heap* heap) {
  if (a.Is(Kind::Null) && b.Is(Kind::Null)) return Value::OfNull();
  std::string left, right;
  const auto view = [](const Value& value, std::string& text) -> std::string_view {
    if (value.Is(Kind::Text)) return value.View();
    if (!value.Is(Kind::Null)) text = ToText(value);
    return text;
  };
  const std::string_view x = view(a, left), y = view(b, right);
  TextBlock* const block = TextBlock::Make(heap, x.size() + y.size(), x.size() + y.size());
  if (!x.empty()) std::memcpy(block->Bytes(), x.data(), x.size());
  if (!y.empty()) std::memcpy(block->Bytes() + x.size(), y.data(), y.size());
  return Value::OfText(block);
}

Value Logical(Operator op, const Value& a, const Value& b) {
  if (a.Is(Kind::Null) || b.Is(Kind::Null)) {
    const bool nullIsLeft = a.Is(Kind::Null);
    const Value& other = nullIsLeft ? b : a;
    if (!IsKnownBesideNull(op, other, nullIsLeft)) return Value::OfNull();
    return BitsAs(op == Operator::And ? 0 : -1, other.Type(), other.Type());
  }
  return BitsAs(Combine(op, Bits(a), Bits(b)), a.Type(), b.Type());
}

Value Negation(const Value& value) {
  if (value.Is(Kind::Null)) return value;
  if (value.Is(Kind::Date)) return AsDate(-value.Real());
  if (value.Is(Kind::Single)) return Value::OfSingle(-value.Real());
  if (value.Is(Kind::Currency)) return CurrencyArithmetic(Operator::Subtract, Value(), value);
  const Kind kind = NumericKind(value);
  if (kind <= Kind::Long) return FitWhole(-WholeOf(value), std::max(kind, Kind::Integer));
  return Value::OfDouble(-ToDouble(value));
}

Value LogicalNot(const Value& value) {
  if (value.Is(Kind::Null)) return value;
  if (value.Is(Kind::Boolean)) return Value::OfBoolean(value.Whole() == 0);
  return BitsAs(~Bits(value), value.Type(), value.Type());
}

int CompareTexts(std::string_view a, std::string_view b, bool ignoreCase) {
  if (ignoreCase) {
    const int order = ToLowerCase(a).compare(ToLowerCase(b));
    return order < 0 ? -1 : order > 0 ? 1 : 0;
  }
  const int order = a.compare(b);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int CompareValues(const Value& a, const Value& b, Literals literals) {
  if (a.IsWhole() && b.IsWhole()) return a.Whole() < b.Whole() ? -1 : a.Whole() > b.Whole() ? 1 : 0;
  const bool leftText = a.Is(Kind::Text), rightText = b.Is(Kind::Text);
  if (leftText && rightText) return CompareTexts(a.View(), b.View(), false);
  if (leftText && b.Is(Kind::Empty)) return a.View().empty() ? 0 : 1;
  if (rightText && a.Is(Kind::Empty)) return b.View().empty() ? 0 : -1;
  if (rightText && NumericKind(a) != Kind::Empty)
    return CompareWithText(a, b, literals.left, literals.right);
  if (leftText && NumericKind(b) != Kind::Empty)
    return -CompareWithText(b, a, literals.right, literals.left);
  if (NumericKind(a) == Kind::Currency && NumericKind(b) == Kind::Currency)
    return a.Whole() < b.Whole() ? -1 : a.Whole() > b.Whole() ? 1 : 0;
  return Sign(ToDouble(a) - ToDouble(b));
}

Value Comparison(Operator op, const Value& a, const Value& b, Literals literals) {
  if (a.Is(Kind::Null) || b.Is(Kind::Null)) return Value::OfNull();
  const int order = CompareValues(a, b, literals);
  switch (op) {
    case Operator::Equal: return Value::OfBoolean(order == 0);
    case Operator::NotEqual: return Value::OfBoolean(order != 0);
    case Operator::Less: return Value::OfBoolean(order < 0);
    case Operator::LessOrEqual: return Value::OfBoolean(order <= 0);
    case Operator::Greater: return Value::OfBoolean(order > 0);
    default: return Value::OfBoolean(order >= 0);
  }
}

}  // namespace torvik::script
