#include "config/JobVariables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "config/FileUtils.h"
#include "config/JobSettings.h"
#include "platform/Dts.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using dts::Variant;

struct JobVariable {
  const char* name;
  Variant (*value)(const JobSettings&);
  bool isListed;
};

constexpr const char* kOverwriteGlobalSettings = "OverwriteGlobalSettings";

const std::array<JobVariable, 11> kJobVariables = {{
    {"ExceptionFilePath", [](const JobSettings& j) -> Variant { return j.LogFileDir; }, true},
    {"DTSServer", [](const JobSettings& j) -> Variant { return j.DTSServer; }, true},
    {"DTSServerTrustedLogin",
     [](const JobSettings& j) -> Variant { return j.DTSServerTrustedLogin != VariantFalse; }, true},
    {"DTSServerLoginUserName", [](const JobSettings& j) -> Variant { return j.DTSLoginUserName; },
     true},
    {"DTSServerLoginPassword", [](const JobSettings& j) -> Variant { return j.DTSLoginPassword; },
     false},
    {"DestinationServer", [](const JobSettings& j) -> Variant { return j.DWServer; }, true},
    {"DestServerTrustedLogin",
     [](const JobSettings& j) -> Variant { return j.DWServerTrustedLogin != VariantFalse; }, true},
    {"DestServerLoginUserName",
     [](const JobSettings& j) -> Variant { return j.DWServerLoginUserName; }, true},
    {"DestServerLoginPassword",
     [](const JobSettings& j) -> Variant { return j.DWServerLoginPassword; }, false},
    {"DestServerDatabaseName", [](const JobSettings& j) -> Variant { return j.DWDatabaseName; },
     true},
    {"WriteCompletionStatusToNT",
     [](const JobSettings& j) -> Variant { return j.WriteCompletionStatusToNT != VariantFalse; },
     true},
}};

template <class Number>
std::string NumberText(Number number) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

std::string AsText(const Variant& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "True" : "False";
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return NumberText(*whole);
  return NumberText(std::get<double>(value));
}

bool AsTruth(const Variant& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return *truth;
  const std::string text = AsText(value);
  return EqualsIgnoringCase(text, "true") ||
         (!text.empty() && text.find_first_not_of("+-.0123456789") == std::string::npos &&
          text.find_first_of("123456789") != std::string::npos);
}

bool Differs(const Variant& current, const Variant& wanted) {
  if (const auto* truth = std::get_if<bool>(&wanted)) return AsTruth(current) != *truth;
  return AsText(current) != AsText(wanted);
}

}  // namespace

void SetJobVariables(JobSettings& job, dts::GlobalVariables& variables) {
  AddTrailingSeparator(job.LogFileDir);
  bool changed = false;
  for (const JobVariable& variable : kJobVariables) {
    const Variant wanted = variable.value(job);
    if (!Differs(variables.Value(variable.name), wanted)) continue;
    variables.SetValue(variable.name, wanted);
    changed = true;
  }
  variables.SetValue(kOverwriteGlobalSettings, changed);
}

bool IsJobVariable(std::string_view name) {
  return EqualsIgnoringCase(name, kOverwriteGlobalSettings) ||
         std::ranges::any_of(kJobVariables, [&](const JobVariable& one) {
           return EqualsIgnoringCase(name, one.name);
         });
}

std::string JobVariablesAsString(const dts::GlobalVariables& variables) {
  std::string text;
  const auto append = [&](const char* name) {
    text += std::string(name) + " = " + AsText(variables.Value(name));
  };
  for (const JobVariable& variable : kJobVariables) {
    if (variable.isListed) append(variable.name);
  }
  append(kOverwriteGlobalSettings);
  return text;
}

}  // namespace torvik
