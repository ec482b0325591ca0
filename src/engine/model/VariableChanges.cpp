#include "engine/model/VariableChanges.h"

#include <optional>

#include "engine/model/Problems.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

std::string TextOfField(const ado::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return TextOf(*integer);
  if (const auto* real = std::get_if<double>(&value)) return TextOf(*real);
  if (const auto* blob = std::get_if<ado::Blob>(&value)) return blob->bytes;
  return {};
}

std::optional<bool> BooleanIn(const std::string& text) {
  for (const char* yes : {"True", "1", "-1"})
    if (EqualsIgnoringCase(text, yes)) return true;
  for (const char* no : {"False", "0"})
    if (EqualsIgnoringCase(text, no)) return false;
  return std::nullopt;
}

/// The text as a value of the type that the variable has; nothing when it is none.
std::optional<dts::Variant> OfTypeOf(const dts::Variant& declared, const std::string& text) {
  if (std::holds_alternative<std::string>(declared)) return text;
  if (std::holds_alternative<bool>(declared)) return BooleanIn(text);
  if (std::holds_alternative<std::int64_t>(declared)) return NumberOf<std::int64_t>(text);
  return NumberOf<double>(text);
}

dts::Variant Cleared(const dts::Variant& declared) {
  return std::visit([](const auto& value) { return dts::Variant(std::decay_t<decltype(value)>()); },
                    declared);
}

const char* TypeName(const dts::Variant& declared) {
  static const char* const kNames[] = {"text", "Boolean", "whole number", "number"};
  return kNames[declared.index()];
}

}  // namespace

void VariableChanges::Add(const std::string& name, const ado::Value& value,
                          const std::string& origin, const std::string& remedy) {
  const dts::Variant* declared = variables_.Find(name);
  if (declared == nullptr)
    throw PlatformError(0, origin + ": there is no global variable " + Quoted(name) + "; " + remedy,
                        "package engine");
  if (std::holds_alternative<ado::Null>(value)) {
    changes_.emplace_back(name, Cleared(*declared));
    return;
  }
  auto fitting = OfTypeOf(*declared, TextOfField(value));
  if (!fitting)
    throw PlatformError(0,
                        origin + " does not fit the global variable " + Quoted(name) +
                            ", which is declared as a " + TypeName(*declared),
                        "package engine");
  changes_.emplace_back(name, std::move(*fitting));
}

void VariableChanges::Commit() {
  for (auto& [name, value] : changes_) variables_.SetValue(name, std::move(value));
  changes_.clear();
}

std::optional<bool> BooleanOf(const ado::Value& value) {
  return BooleanIn(TextOfField(value));
}

ado::Value ParameterOf(const dts::Variant& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* boolean = std::get_if<bool>(&value)) return std::int64_t{*boolean};
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return *integer;
  return std::get<double>(value);
}

}  // namespace torvik::engine
