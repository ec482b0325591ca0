#include <algorithm>

#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Object.h"

namespace torvik::script {

namespace {

struct KindFacts {
  std::string_view name;
  std::int16_t number;
};

/// By Kind.
constexpr KindFacts kinds[] = {{"Empty", 0},  {"Null", 1},         {"Error", 10}, {"Boolean", 11},
                               {"Byte", 17},  {"Integer", 2},      {"Long", 3},   {"Single", 4},
                               {"Double", 5}, {"Currency", 6},     {"Date", 7},   {"Error", 10},
                               {"String", 8}, {"Variant()", 8204}, {"Object", 9}};

const KindFacts& FactsOf(const Value& value) {
  return kinds[static_cast<std::size_t>(value.Type())];
}

Value IsEmpty(Context&, Arguments a) {
  return Value::OfBoolean(a[0].Is(Kind::Empty));
}
Value IsNull(Context&, Arguments a) {
  return Value::OfBoolean(a[0].Is(Kind::Null));
}
Value IsArray(Context&, Arguments a) {
  return Value::OfBoolean(a[0].Is(Kind::Array));
}
Value IsObject(Context&, Arguments a) {
  return Value::OfBoolean(a[0].Is(Kind::Object));
}

Value IsNumeric(Context&, Arguments a) {
  const Value& value = a[0];
  if (value.Is(Kind::Text)) return Value::OfBoolean(NumberOfText(value.View()).has_value());
  return Value::OfBoolean((value.IsNumber() && !value.Is(Kind::Date)) || value.Is(Kind::Empty));
}

Value TypeName(Context& context, Arguments a) {
  if (!a[0].Is(Kind::Object)) return Value::OfText(FactsOf(a[0]).name, &context.heap);
  const Object* const object = a[0].AsObject();
  return Value::OfText(object == nullptr ? "Nothing" : object->TypeName(), &context.heap);
}

Value VarType(Context&, Arguments a) {
  return Value::OfInteger(FactsOf(a[0]).number);
}

Value Array(Context& context, Arguments a) {
  Value array = NewArray(context.heap, a.size());
  std::ranges::move(a, array.AsArray()->elements.begin());
  return array;
}

Value Bound(Arguments a, bool upper) {
  if (!a[0].Is(Kind::Array)) throw TypeMismatch();
  const std::int32_t dimension = LongOr(a, 1, 1);
  const std::vector<std::int32_t>& bounds = a[0].AsArray()->upper;
  if (dimension < 1 || static_cast<std::size_t>(dimension) > bounds.size()) throw RuntimeError(9);
  return Value::OfLong(upper ? bounds[static_cast<std::size_t>(dimension) - 1] : 0);
}

Value UBound(Context&, Arguments a) {
  return Bound(a, true);
}
Value LBound(Context&, Arguments a) {
  return Bound(a, false);
}

constexpr Function informationFunctions[] = {
    {"isempty", 1, 1, IsEmpty, true}, {"isnull", 1, 1, IsNull},
    {"isarray", 1, 1, IsArray, true}, {"isobject", 1, 1, IsObject, true},
    {"isnumeric", 1, 1, IsNumeric},   {"typename", 1, 1, TypeName, true},
    {"vartype", 1, 1, VarType, true}, {"array", 0, 255, Array, true},
    {"ubound", 1, 2, UBound},         {"lbound", 1, 2, LBound},
};

}  // namespace

std::span<const Function> InformationFunctions() {
  return informationFunctions;
}

}  // namespace torvik::script
