#include "ui/CRegSettings.h"

#include "platform/CodePage.h"
#include "platform/Registry.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using namespace registry;

constexpr const char* kDefaultCompany = "Quor";
constexpr const char* kProduct = "Torvik";

/// "*" stands for the default value.
std::string ValueName(const std::string& key) {
  return key == "*" ? "" : key;
}

VariantBool IsGood(std::int32_t result) {
  return result == kSuccess ? VariantTrue : VariantFalse;
}

}  // namespace

CRegSettings::CRegSettings(Registry& registry, const CodePage& ansi)
    : registry_(registry),
      ansi_(ansi),
      company_(kDefaultCompany),
      appName_(kProduct),
      hive_(kLocalMachine) {}

void CRegSettings::SetCompany(const std::string& company) {
  company_ = company.empty() ? std::string_view(kDefaultCompany) : Trimmed(company);
}

void CRegSettings::SetHive(std::uint32_t) {
  hive_ = kLocalMachine;
}

void CRegSettings::SetAppName(const std::string& name) {
  appName_ = name.empty() ? std::string_view(kProduct) : Trimmed(name);
}

std::string CRegSettings::BuildKeyPath(const std::string& section) const {
  return "Software\\" + company_ + "\\" + appName_ + (section.empty() ? "" : "\\" + section);
}

VariantBool CRegSettings::DeleteSetting(const std::string& section, const std::string& key) {
  RegistryKey open = 0;
  const std::string path = BuildKeyPath(key.empty() ? "" : section);
  std::int32_t result = registry_.RegOpenKeyExA(hive_, path, kAllAccess, open);
  if (result != kSuccess) return VariantFalse;
  result = key.empty() ? registry_.RegDeleteKeyA(open, section)
                       : registry_.RegDeleteValueA(open, ValueName(key));
  registry_.RegCloseKey(open);
  return IsGood(result);
}

std::string CRegSettings::GetSetting(const std::string& section, const std::string& key,
                                     const std::string& fallback) {
  RegistryKey open = 0;
  std::string setting = fallback;
  if (registry_.RegOpenKeyExA(hive_, BuildKeyPath(section), kAllAccess, open) != kSuccess)
    return setting;
  std::uint32_t size = 0;
  const std::string name = ValueName(key);
  if (registry_.RegQueryValueExA(open, name, nullptr, size) == kSuccess && size > 0) {
    std::string buffer(size, ' ');
    // Another process may have emptied it in between.
    if (registry_.RegQueryValueExA(open, name, buffer.data(), size) == kSuccess && size > 0)
      setting = ansi_.Decode(buffer.substr(0, size - 1));
  }
  registry_.RegCloseKey(open);
  return setting;
}

VariantBool CRegSettings::SaveSetting(const std::string& section, const std::string& key,
                                      const std::string& setting) {
  RegistryKey open = 0;
  std::int32_t result = registry_.RegCreateKeyExA(hive_, BuildKeyPath(section), kAllAccess, open);
  if (result != kSuccess) return VariantFalse;
  result = registry_.RegSetValueExA(open, ValueName(key), kText, ansi_.Encode(setting));
  registry_.RegCloseKey(open);
  return IsGood(result);
}

}  // namespace torvik
