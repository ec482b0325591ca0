#include "import/Record.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "platform/Text.h"

namespace torvik::importing {
namespace {

std::string NumberText(double number) {
  char text[32];
  const bool isWhole = std::abs(number) < 1e15 && number == std::floor(number);
  const auto end = isWhole ? std::to_chars(text, text + sizeof text, static_cast<long long>(number))
                           : std::to_chars(text, text + sizeof text, number);
  return {text, end.ptr};
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace

Value Value::OfText(std::string_view plain) {
  Value value;
  value.kind = Kind::Text;
  value.text = Replaced(std::string(plain), "${", "$${");
  return value;
}

Value Value::OfNumber(double number) {
  Value value;
  value.kind = Kind::Number;
  value.number = number;
  return value;
}

Value Value::OfBoolean(bool truth) {
  Value value;
  value.kind = Kind::Boolean;
  value.number = truth ? -1 : 0;
  return value;
}

Value Value::OfObject(ObjectPtr object) {
  Value value;
  value.kind = Kind::Object;
  value.object = std::move(object);
  return value;
}

Value Value::Unknown(const std::string& name) {
  Value value;
  value.kind = Kind::Text;
  value.text = "${" + name + "}";
  value.isUnknown = true;
  return value;
}

std::string Value::DocumentText() const {
  switch (kind) {
    case Kind::Text: return text;
    case Kind::Number: return NumberText(number);
    case Kind::Boolean: return number != 0 ? "True" : "False";
    case Kind::Empty:
    case Kind::Object: break;
  }
  return {};
}

std::string Value::PlainText() const {
  return kind == Kind::Text ? Replaced(text, "$${", "${") : DocumentText();
}

const Property* Object::Find(std::string_view name) const {
  const auto found = std::ranges::find_if(
      properties, [&](const Property& one) { return EqualsIgnoringCase(one.name, name); });
  return found == properties.end() ? nullptr : &*found;
}

void Object::Set(std::string_view name, Value value, int at) {
  if (const Property* known = Find(name)) {
    auto& property = properties[static_cast<std::size_t>(known - properties.data())];
    property.value = std::move(value);
    property.line = at;
  } else {
    properties.push_back({std::string(name), std::move(value), at});
  }
}

const Object* Object::Child(std::string_view lowerName) const {
  const auto found = children.find(std::string(lowerName));
  return found == children.end() ? nullptr : found->second.get();
}

Recording::~Recording() {
  for (const ObjectPtr& object : objects) {
    object->children.clear();
    object->properties.clear();
    object->items.clear();
    object->made.clear();
  }
}

ObjectPtr Recording::NewObject(std::string kind, int line) {
  auto object = std::make_shared<Object>();
  object->kind = std::move(kind);
  object->line = line;
  objects.push_back(object);
  return object;
}

void Recording::NoteAt(int line, const std::string& text) {
  if (told_.insert({line, text}).second) notes.push_back({line, text});
}

std::vector<std::string> NamesIn(std::string_view text) {
  std::vector<std::string> names;
  for (std::size_t at = text.find("${"); at != text.npos; at = text.find("${", at + 2)) {
    if (at > 0 && text[at - 1] == '$') continue;
    const std::size_t end = text.find('}', at);
    if (end == text.npos) break;
    names.emplace_back(text.substr(at + 2, end - at - 2));
  }
  return names;
}

}  // namespace torvik::importing
