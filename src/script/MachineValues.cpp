// Operators, variables and conditions of the machine.

#include <algorithm>

#include "script/Conversion.h"
#include "script/Machine.h"

namespace torvik::script {

namespace {

bool IsSame(const Value& a, const Value& b) {
  if (!a.Is(Kind::Object) || !b.Is(Kind::Object)) throw RuntimeError(424);
  return a.AsObject() == b.AsObject();
}

}  // namespace

Value Machine::DefaultOf(const Value& value) {
  Value result = value;
  for (int i = 0; result.Is(Kind::Object); ++i) {
    if (result.AsObject() == nullptr) throw RuntimeError(91);
    if (i == 8) throw TypeMismatch();
    const Value holder = result;
    if (holder.AsObject()->FindMember("") == Object::NoMember) throw RuntimeError(438);
    result = holder.AsObject()->Invoke(context_, Object::DefaultMember, {});
  }
  return result;
}

/// Replaces objects among the topmost by their default values.
void Machine::ResolveTop(std::size_t count) {
  for (Value* value = sp_ - count; value < sp_; ++value) {
    if (value->Is(Kind::Object)) *value = DefaultOf(*value);
  }
}

void Machine::Binary(const Instruction& in) {
  const auto op = static_cast<Operator>(in.a);
  Value& a = sp_[-2];
  const Value& b = sp_[-1];
  if (op == Operator::Is) {
    a = Value::OfBoolean(IsSame(a, b));
    return Drop(1);
  }
  ResolveTop(2);
  if (op == Operator::Concatenate)
    a = Concatenation(a, b, &context_.heap);
  else if (op >= Operator::And)
    a = Logical(op, a, b);
  else
    a = Arithmetic(op, a, b, &context_.heap);
  if (a.Is(Kind::Text)) context_.Work(a.View().size());
  Drop(1);
}

void Machine::Compare(const Instruction& in) {
  Value& a = sp_[-2];
  const Value& b = sp_[-1];
  if (a.Is(Kind::Object) || b.Is(Kind::Object)) ResolveTop(2);
  if (a.Is(Kind::Text)) context_.Work(a.View().size());
  a = Comparison(static_cast<Operator>(in.a), a, b,
                 {.left = (in.b & 1) != 0, .right = (in.b & 2) != 0});
  Drop(1);
}

void Machine::Unary(const Instruction& in) {
  ResolveTop(1);
  Value& value = sp_[-1];
  if (in.a == static_cast<int>(Operator::Negate))
    value = Negation(value);
  else if (in.a == static_cast<int>(Operator::Not))
    value = LogicalNot(value);
  else if (value.Is(Kind::Text))
    value = Value::OfDouble(ToDouble(value));
}

void Machine::Append(const Instruction& in) {
  ResolveTop(1);
  Value& variable = Variable(in, frames_.back().base);
  Value& tail = sp_[-1];
  if (variable.Is(Kind::Text) && !tail.Is(Kind::Null)) {
    const Value text = ToTextValue(tail, &context_.heap);
    if (variable.TextOf()->references > 1) context_.Work(variable.View().size());
    variable.AppendText(text.View(), &context_.heap);
    context_.Work(text.View().size());
  } else {
    const Value start = DefaultOf(variable);
    variable = Concatenation(start, tail, &context_.heap);
  }
  Drop(1);
}

void Machine::StoreObject(const Instruction& in) {
  if (!sp_[-1].Is(Kind::Object)) throw RuntimeError(424);
  Variable(in, frames_.back().base) = Take();
}

bool Machine::IsTrue(const Value& value) {
  const Value plain = DefaultOf(value);
  return !plain.Is(Kind::Null) && ToBoolean(plain);
}

bool Machine::IsPast(const Instruction& in) {
  const Value& last = frames_.back().base[in.c];
  const Value& step = frames_.back().base[in.c + 1];
  if (sp_[-1].Is(Kind::Object)) ResolveTop(1);
  bool past = true;
  if (sp_[-1].IsWhole() && last.IsWhole() && step.IsWhole()) {
    past = step.Whole() >= 0 ? sp_[-1].Whole() > last.Whole() : sp_[-1].Whole() < last.Whole();
  } else if (!last.Is(Kind::Empty) && !sp_[-1].Is(Kind::Null)) {
    const int order = CompareValues(sp_[-1], last, {.left = true, .right = true});
    past = CompareValues(step, Value::OfInteger(0)) >= 0 ? order > 0 : order < 0;
  }
  Drop(1);
  return past;
}

void Machine::CallFunction(const Instruction& in) {
  const Function& function = *program_.functions[static_cast<std::size_t>(in.a)];
  if (!function.takesObjects) ResolveTop(in.c);
  Value result = function.call(context_, {sp_ - in.c, in.c});
  Drop(in.c);
  Push(std::move(result));
}

}  // namespace torvik::script
