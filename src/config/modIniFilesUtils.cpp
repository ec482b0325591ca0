#include "config/modIniFilesUtils.h"

#include "platform/Profile.h"
#include "platform/Text.h"

namespace torvik {

std::string ReadIniString(Profile& profile, const std::string& section, const std::string& key,
                          const std::string& fallback, const std::string& file) {
  constexpr std::size_t bufferSize = 2048;
  return profile.GetPrivateProfileStringA(section, key, fallback, bufferSize, file);
}

std::int16_t WriteIniString(Profile& profile, const std::string& section, const std::string& key,
                            const std::string& value, const std::string& file) {
  return static_cast<std::int16_t>(profile.WritePrivateProfileStringA(section, key, value, file));
}

bool IsIniTrue(const std::string& text) {
  return !EqualsIgnoringCase(text, "FALSE");
}

std::string IniTruth(VariantBool value) {
  return value == VariantTrue ? "TRUE" : "FALSE";
}

std::string QuoteForIniFile(const std::string& text) {
  if (text.empty()) return text;
  const char first = text.front();
  const char last = text.back();
  const bool isQuoted = text.size() > 1 && first == last && (first == '"' || first == '\'');
  return first == ' ' || last == ' ' || isQuoted ? '"' + text + '"' : text;
}

}  // namespace torvik
