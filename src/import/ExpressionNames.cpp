#include "import/ExpressionNames.h"

#include <cctype>
#include <functional>

#include "script/Conversion.h"

namespace torvik::importing {
namespace {

using script::Expression;
using script::ExpressionKind;

constexpr std::size_t kLongest = 60;

std::string CleanName(std::string_view text) {
  std::string name;
  for (const char c : text.substr(0, kLongest)) {
    const bool fits = std::isalnum(static_cast<unsigned char>(c)) && (c & 0x80) == 0;
    if (fits)
      name += c;
    else if (!name.empty() && name.back() != '_')
      name += '_';
  }
  while (!name.empty() && name.back() == '_') name.pop_back();
  return name.empty() ? "Unknown" : name;
}

}  // namespace

std::string NameFor(const Expression& expression) {
  std::string name;
  const std::function<void(const Expression&)> add = [&](const Expression& one) {
    if (name.size() > kLongest) return;
    for (const auto& operand : one.operands)
      if (operand) add(*operand);
    std::string part = one.name;
    if (one.kind == ExpressionKind::Literal) part = LiteralValue(one).PlainText();
    if (!part.empty()) name += (name.empty() ? "" : "_") + part;
  };
  add(expression);
  return CleanName(name);
}

std::string NameFor(std::string function, const std::vector<Value>& arguments) {
  for (const Value& argument : arguments) function += "_" + argument.PlainText();
  return CleanName(function);
}

Value LiteralValue(const Expression& expression) {
  const script::Value& literal = expression.literal;
  if (literal.Is(script::Kind::Text)) return Value::OfText(literal.View());
  if (literal.Is(script::Kind::Boolean)) return Value::OfBoolean(literal.Whole() != 0);
  if (literal.Is(script::Kind::Date)) return Value::OfText(script::ToText(literal));
  if (literal.IsNumber()) return Value::OfNumber(script::ToDouble(literal));
  return {};
}

}  // namespace torvik::importing
