#include "import/Arrays.h"

#include <string>

#include "import/Operators.h"
#include "script/Conversion.h"

namespace torvik::importing {
namespace {

using Arguments = std::vector<Value>;

/// No text that builds a package has more.
constexpr std::size_t kMostElements = 10'000;

ObjectPtr NewArray(Recording& recording, const std::vector<Value>& values, int first, int line) {
  ObjectPtr array = recording.NewObject("array", line);
  array->Set("First", Value::OfNumber(first), line);
  for (const Value& value : values) {
    array->items.push_back(recording.NewObject("property", line));
    array->items.back()->Set("Value", value, line);
  }
  return array;
}

double FirstOf(const Object& array) {
  const Property* const first = array.Find("First");
  return first == nullptr ? 0 : first->value.number;
}

/// Split(text, delimiter); nothing when not all of it is known.
std::optional<std::vector<Value>> Pieces(const Arguments& arguments) {
  if (arguments.empty() || arguments.size() > 2) return std::nullopt;
  for (const Value& argument : arguments)
    if (argument.IsObject() || argument.isUnknown || argument.isUnset) return std::nullopt;
  const std::string text = arguments[0].PlainText();
  const std::string delimiter = arguments.size() == 2 ? arguments[1].PlainText() : " ";
  std::vector<Value> pieces;
  if (text.empty()) return pieces;
  for (std::size_t at = 0; pieces.size() < kMostElements;) {
    const std::size_t end = delimiter.empty() ? text.npos : text.find(delimiter, at);
    pieces.push_back(Value::OfText(std::string_view(text).substr(at, end - at)));
    if (end == text.npos) return pieces;
    at = end + delimiter.size();
  }
  return std::nullopt;
}

Value JoinedBy(const Object& array, const Value& delimiter) {
  Value all = Value::OfText("");
  for (std::size_t i = 0; i < array.items.size(); ++i) {
    if (i > 0) all = Joined(all, delimiter);
    all = Joined(all, Plain(HeldBy(*array.items[i])));
  }
  return all;
}

}  // namespace

bool IsArray(const Value& value) {
  return value.IsObject() && value.object->kind == "array";
}

bool IsArrayFunction(std::string_view name) {
  return name == "array" || name == "split" || name == "join" || name == "ubound" ||
         name == "lbound";
}

std::optional<Value> ArrayFunction(Recording& recording, std::string_view name,
                                   const Arguments& arguments, int first, int line) {
  if (name == "array") return Value::OfObject(NewArray(recording, arguments, first, line));
  if (name == "split") {
    const auto pieces = Pieces(arguments);
    if (!pieces) return std::nullopt;
    return Value::OfObject(NewArray(recording, *pieces, 0, line));
  }
  if (arguments.empty() || !IsArray(arguments[0])) return std::nullopt;
  const Object& array = *arguments[0].object;
  if (name == "join")
    return JoinedBy(array, arguments.size() > 1 ? arguments[1] : Value::OfText(" "));
  const double count = static_cast<double>(array.items.size());
  return Value::OfNumber(name == "lbound" ? FirstOf(array) : FirstOf(array) + count - 1);
}

ObjectPtr ElementOf(const Object& array, const Value& number) {
  const auto given = NumberOf(number);
  if (!given) return nullptr;
  const double at = script::RoundHalfEven(*given) - FirstOf(array);
  const bool isThere = at >= 0 && at < static_cast<double>(array.items.size());
  return isThere ? array.items[static_cast<std::size_t>(at)] : nullptr;
}

Value HeldBy(const Object& element) {
  const Property* const value = element.Find("Value");
  return value == nullptr ? Value() : value->value;
}

}  // namespace torvik::importing
