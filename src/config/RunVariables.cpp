#include "config/RunVariables.h"

#include <optional>

#include "config/JobVariables.h"
#include "platform/Dts.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik {
namespace {

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

/// The text that a variable is to have. Throws a reason.
std::string TextFor(const std::string& name, const std::string& given, Secrets& secrets) {
  if (!IsPasswordName(name)) return given;
  if (!RefersToSecret(given))
    throw PlatformError(0,
                        "it holds a password, which is referred to by file:PATH or "
                        "credential:NAME and never written down",
                        "job");
  std::string secret;
  if (const std::string problem = secrets.Read(given, secret); !problem.empty())
    throw PlatformError(0, problem, "job");
  return secret;
}

dts::Variant ValueFor(const std::string& name, const std::string& given, Secrets& secrets,
                      const dts::GlobalVariables& variables) {
  static constexpr const char* kTypes[] = {"a text", "True or False", "a whole number", "a number"};
  if (IsJobVariable(name))
    throw PlatformError(0, "Torvik sets it itself, from the job's settings", "job");
  const dts::Variant declared = variables.Value(name);
  const auto value = OfType(declared, TextFor(name, given, secrets));
  if (!value)
    throw PlatformError(0, std::string("its value must be ") + kTypes[declared.index()], "job");
  return *value;
}

}  // namespace

void SetRunVariables(const RunVariables& values, const std::string& origin, Secrets& secrets,
                     dts::GlobalVariables& variables) {
  std::vector<std::pair<std::string, dts::Variant>> changes;
  for (const auto& [name, text] : values) {
    try {
      changes.emplace_back(name, ValueFor(name, text, secrets, variables));
    } catch (const PlatformError& error) {
      throw PlatformError(error.number,
                          origin + ": the variable \"" + name +
                              "\" cannot be set for this run: " + error.Description(),
                          "job");
    }
  }
  for (auto& [name, value] : changes) variables.SetValue(name, std::move(value));
}

}  // namespace torvik
