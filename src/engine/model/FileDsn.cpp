#include "engine/model/FileDsn.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::engine {
namespace {

using DsnEntry = std::pair<std::string, std::string>;

constexpr std::pair<const char*, const char*> kKeywords[] = {
    {"SERVER", "Data Source"},
    {"DSN", "Data Source"},
    {"DBQ", "Data Source"},
    {"DATABASE", "Initial Catalog"},
    {"UID", "User ID"},
    {"PWD", "Password"},
    {"Trusted_Connection", "Integrated Security"}};

/// The provider that reads what the driver reads; those of a driver that has none stay.
void AddProviderOf(std::string_view driver, std::vector<DsnEntry>& entries) {
  const std::string lower = LowerAscii(driver);
  const auto has = [&](const char* part) { return lower.find(part) != lower.npos; };
  if (has("sql server") || has("sql native client") || has("freetds"))
    entries.emplace_back("Provider", "SQLOLEDB");
  if (has("excel driver")) entries.emplace_back("Extended Properties", "Excel 8.0");
  if (has("access driver") || has("excel driver"))
    entries.emplace_back("Provider", "Microsoft.Jet.OLEDB.4.0");
}

void AddDsnEntry(std::string_view keyword, std::string_view value, std::vector<DsnEntry>& entries) {
  if (EqualsIgnoringCase(keyword, "DRIVER")) return AddProviderOf(value, entries);
  const auto known = std::ranges::find_if(
      kKeywords, [&](const auto& one) { return EqualsIgnoringCase(one.first, keyword); });
  if (known == std::end(kKeywords)) return;
  if (!EqualsIgnoringCase(keyword, "Trusted_Connection"))
    entries.emplace_back(known->second, std::string(value));
  else if (EqualsIgnoringCase(value, "yes") || EqualsIgnoringCase(value, "true"))
    entries.emplace_back(known->second, "SSPI");
}

}  // namespace

std::optional<std::vector<DsnEntry>> FileDsnEntries(std::string_view text) {
  std::vector<DsnEntry> entries;
  bool isDsn = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = Trimmed(text.substr(0, end), kWhiteSpace);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line[0] == ';') continue;
    if (!isDsn && !EqualsIgnoringCase(line, "[ODBC]")) return std::nullopt;
    if (isDsn && line[0] == '[') break;
    isDsn = true;
    const std::size_t equals = line.find('=');
    if (equals != line.npos)
      AddDsnEntry(Trimmed(line.substr(0, equals), kWhiteSpace),
                  Trimmed(line.substr(equals + 1), kWhiteSpace), entries);
  }
  if (!isDsn) return std::nullopt;
  return entries;
}

}  // namespace torvik::engine
