#pragma once

#include <cstdint>
#include <string>

#include "platform/VariantBool.h"

namespace torvik {

class CodePage;
class Registry;

/// Named text settings in the registry, under Software\COMPANY\APPLICATION\SECTION of
/// HKEY_LOCAL_MACHINE. A key "*" is the section's default value. An account that may not write
/// there gets defaults and false.
class CRegSettings {
 public:
  /// Both must outlive it. `ansi` is the code page of the values.
  CRegSettings(Registry& registry, const CodePage& ansi);

  /// Trimmed; the empty text restores the company that is set when nobody sets one.
  void SetCompany(const std::string& company);
  const std::string& Company() const { return company_; }
  /// The hive cannot be changed.
  void SetHive(std::uint32_t hive);
  std::uint32_t Hive() const { return hive_; }
  /// Trimmed; the empty text restores the product's name.
  void SetAppName(const std::string& name);
  const std::string& AppName() const { return appName_; }

  /// Deletes a value, or without a key the whole section.
  VariantBool DeleteSetting(const std::string& section, const std::string& key = {});
  /// The value without its last byte, which is taken for the NUL that ends it; `fallback` when
  /// there is none.
  std::string GetSetting(const std::string& section, const std::string& key,
                         const std::string& fallback = {});
  /// Stores the text without a NUL behind it.
  VariantBool SaveSetting(const std::string& section, const std::string& key,
                          const std::string& setting);

 private:
  std::string BuildKeyPath(const std::string& section) const;

  Registry& registry_;
  const CodePage& ansi_;
  std::string company_, appName_;
  std::uint32_t hive_;
};

}  // namespace torvik
