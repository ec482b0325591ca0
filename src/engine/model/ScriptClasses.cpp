#include "engine/model/ScriptClasses.h"

#include <algorithm>
#include <iterator>

#include "engine/model/AdoParts.h"
#include "engine/model/Variables.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

using Host = std::shared_ptr<ScriptHost>;

constexpr struct {
  const char* name;
  script::Value (*make)(const Host& host);
} kClasses[] = {
    {kAdoConnectionClass, [](const Host& host) { return NewAdoConnection(host->databases); }},
    {kAdoRecordsetClass,
     [](const Host& host) { return NewAdoRecordset(host->databases, nullptr, nullptr); }},
    {kAdoCommandClass, [](const Host& host) { return NewAdoCommand(host->databases); }},
    {"WScript.Shell", NewShell},
    {"CDO.Message", NewMailMessage},
    {"CDO.Configuration", NewMailConfiguration},
    {"CDONTS.NewMail", NewShortMail},
};

const auto* FindClass(std::string_view name) {
  const auto* const found = std::ranges::find_if(
      kClasses, [&](const auto& one) { return EqualsIgnoringCase(one.name, name); });
  return found == std::end(kClasses) ? nullptr : found;
}

}  // namespace

void ScriptHost::RefusePasswords(const std::string& text, const std::string& where) const {
  if (variables.WithoutPasswords(text) != text)
    throw PlatformError(
        0, "a password of the package's variables would show in " + where + "; take it out",
        "script");
}

bool HasScriptClass(std::string_view className) {
  return FindClass(className) != nullptr;
}

std::optional<script::Value> NewScriptObject(std::string_view className, const Host& host) {
  const auto* const found = FindClass(className);
  return found == nullptr ? std::nullopt : std::optional(found->make(host));
}

}  // namespace torvik::engine
