#include "config/RunVariables.h"

#include <optional>

#include "config/JobVariables.h"
#include "platform/Dts.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

PlatformError Unset(const std::string& name, const std::string& reason) {
  return {0, "the variable \"" + name + "\" cannot be set for this run: " + reason, "job"};
}

std::optional<dts::Variant> AsBoolean(const std::string& text) {
  for (const char* yes : {"True", "1", "-1"})
    if (EqualsIgnoringCase(text, yes)) return true;
  for (const char* no : {"False", "0"})
    if (EqualsIgnoringCase(text, no)) return false;
  return std::nullopt;
}

/// Nothing when the text is no value of the type that `declared` has.
std::optional<dts::Variant> OfType(const dts::Variant& declared, const std::string& text) {
  if (std::holds_alternative<bool>(declared)) return AsBoolean(text);
  if (std::holds_alternative<std::int64_t>(declared)) return NumberOf<std::int64_t>(text);
  if (std::holds_alternative<double>(declared)) return NumberOf<double>(text);
  return text;
}

}  // namespace

void SetRunVariables(const RunVariables& values, dts::GlobalVariables& variables) {
  static constexpr const char* kTypes[] = {"a text", "True or False", "a whole number", "a number"};
  std::vector<std::pair<std::string, dts::Variant>> changes;
  for (const auto& [name, text] : values) {
    if (IsJobVariable(name)) throw Unset(name, "its value comes from the job file");
    const dts::Variant declared = variables.Value(name);
    auto value = OfType(declared, text);
    if (!value) throw Unset(name, std::string("its value must be ") + kTypes[declared.index()]);
    changes.emplace_back(name, std::move(*value));
  }
  for (auto& [name, value] : changes) variables.SetValue(name, std::move(value));
}

}  // namespace torvik
