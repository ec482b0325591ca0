#include "import/Properties.h"

#include <cmath>

#include "platform/Text.h"
#include "script/Conversion.h"

namespace torvik::importing {

const Property* Properties::Take(std::string_view name) {
  taken_.insert(LowerAscii(name));
  return object_ ? object_->Find(name) : nullptr;
}

std::string Properties::Text(std::string_view name) {
  const Property* const property = Take(name);
  return property ? property->value.DocumentText() : "";
}

std::string Properties::Plain(std::string_view name) {
  const Property* const property = Take(name);
  return property ? property->value.PlainText() : "";
}

std::optional<double> Properties::Number(std::string_view name) {
  const Property* const property = Take(name);
  if (property == nullptr) return std::nullopt;
  const Value& value = property->value;
  if (value.kind == Value::Kind::Number || value.kind == Value::Kind::Boolean) return value.number;
  if (EqualsIgnoringCase(value.text, "true")) return -1;
  if (EqualsIgnoringCase(value.text, "false")) return 0;
  if (value.text.empty()) return std::nullopt;
  if (!value.isUnknown)
    if (const auto number = script::NumberOfText(value.text)) return number;
  notes_.push_back(
      {property->line, property->name + " is " + value.PlainText() +
                           ", which is not known to be a number: it is left as usual"});
  return std::nullopt;
}

std::int64_t Properties::Whole(std::string_view name, std::int64_t fallback) {
  const auto number = Number(name);
  return number && std::abs(*number) < 1e15 ? static_cast<std::int64_t>(std::nearbyint(*number))
                                            : fallback;
}

bool Properties::Boolean(std::string_view name, bool fallback) {
  const auto number = Number(name);
  return number ? *number != 0 : fallback;
}

std::vector<Property> Properties::Rest() const {
  std::vector<Property> rest;
  if (object_ == nullptr) return rest;
  for (const Property& property : object_->properties) {
    const bool isEmpty = property.value.DocumentText().empty();
    if (!isEmpty && !taken_.contains(LowerAscii(property.name)) &&
        !IsPasswordProperty(property.name))
      rest.push_back(property);
  }
  return rest;
}

bool IsPasswordProperty(std::string_view name) {
  const std::string lower = LowerAscii(name);
  return lower.find("password") != lower.npos || lower.find("pwd") != lower.npos;
}

}  // namespace torvik::importing
