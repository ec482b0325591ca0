#pragma once

#include <cstdint>

#include "script/Value.h"

/// The language's operators on values that are no objects. Each throws what the language raises.
namespace torvik::script {

enum class Operator : std::uint8_t {
  Add,
  Subtract,
  Multiply,
  Divide,
  WholeDivide,
  Modulo,
  Power,
  Concatenate,
  Equal,
  NotEqual,
  Less,
  LessOrEqual,
  Greater,
  GreaterOrEqual,
  Is,
  And,
  Or,
  Xor,
  Equivalent,
  Implies,
  Negate,
  Identity,
  Not,
};

Value Arithmetic(Operator op, const Value& a, const Value& b, Heap* heap);
Value Concatenation(const Value& a, const Value& b, Heap* heap);
Value Logical(Operator op, const Value& a, const Value& b);
Value Negation(const Value& value);
Value LogicalNot(const Value& value);

/// A Double; an infinity or what is no number is an overflow.
Value Finite(double number);

/// How values compare: a literal has its type for certain, and the other side is converted to it;
/// otherwise a number is less than any text.
struct Literals {
  bool left = false, right = false;
};

/// Negative, 0 or positive; neither may be Null. Texts compare by characters unless `ignoreCase`.
int CompareValues(const Value& a, const Value& b, Literals literals = {});
int CompareTexts(std::string_view a, std::string_view b, bool ignoreCase);

/// A Boolean, or Null when one side is Null.
Value Comparison(Operator op, const Value& a, const Value& b, Literals literals);

}  // namespace torvik::script
