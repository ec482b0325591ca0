#include "platform/linux/database/ConnectionText.h"

#include <algorithm>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/database/DriverFamily.h"

namespace torvik {
namespace {

using Keywords = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kApplication = "torvik";

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

bool IsSecret(const std::string& keyword) {
  return EqualsIgnoringCase(keyword, "PWD") || EqualsIgnoringCase(keyword, "Password");
}

std::string DatabaseOf(const DatabaseLogon& logon) {
  const ServerAddress& address = logon.address;
  if (FamilyOf(address.driver) != DriverFamily::PostgreSql)
    return logon.database.empty() ? address.database : logon.database;
  if (!logon.database.empty() && !IsSystemDatabase(logon.database)) return logon.database;
  return address.database.empty() ? "postgres" : address.database;
}

/// A SQL Server whose instance is named says by itself which port that one has.
std::string PortOf(const ServerAddress& address, const char* standard) {
  return address.port.empty() && !Contains(address.host, "\\") ? standard : address.port;
}

void AddHost(Keywords& keywords, const ServerAddress& address) {
  switch (FamilyOf(address.driver)) {
    case DriverFamily::FreeTds:
      keywords.emplace_back("SERVER", address.host);
      keywords.emplace_back("PORT", PortOf(address, "1433"));
      break;
    case DriverFamily::MicrosoftSqlServer:
      keywords.emplace_back("SERVER",
                            address.host + (address.port.empty() ? "" : "," + address.port));
      break;
    case DriverFamily::PostgreSql:
      keywords.emplace_back("SERVER", address.host);
      keywords.emplace_back("PORT", PortOf(address, "5432"));
      break;
    case DriverFamily::Oracle: keywords.emplace_back("DBQ", address.host); break;
    case DriverFamily::Other:
      keywords.emplace_back("SERVER", address.host);
      keywords.emplace_back("PORT", address.port);
      break;
  }
}

/// What a driver needs to behave as the others do. The settings may say otherwise.
Keywords StandardOptions(DriverFamily family) {
  switch (family) {
    // The server answers with a lower version when it has no 7.4.
    case DriverFamily::FreeTds:
      return {{"TDS_Version", "7.4"}, {"ClientCharset", "UTF-8"}, {"APP", kApplication}};
    case DriverFamily::MicrosoftSqlServer: return {{"APP", kApplication}};
    // Booleans as bits; a statement that fails undoes itself alone, not its whole transaction.
    case DriverFamily::PostgreSql: return {{"BoolsAsChar", "0"}, {"Protocol", "7.4-2"}};
    default: return {};
  }
}

Keywords KeywordsOf(const DatabaseLogon& logon) {
  const ServerAddress& address = logon.address;
  const DriverFamily family = FamilyOf(address.driver);
  Keywords keywords;
  if (address.dataSource.empty()) {
    keywords.emplace_back("DRIVER", address.driver);
    AddHost(keywords, address);
  } else {
    keywords.emplace_back("DSN", address.dataSource);
  }
  if (family != DriverFamily::Oracle) keywords.emplace_back("DATABASE", DatabaseOf(logon));
  for (const auto& [name, value] : address.options)
    if (logon.isTrusted || (name != "uid" && name != "pwd")) keywords.emplace_back(name, value);
  for (const auto& [name, value] : StandardOptions(family))
    if (address.options.count(LowerAscii(name)) == 0) keywords.emplace_back(name, value);
  if (!logon.isTrusted) {
    keywords.emplace_back("UID", logon.user);
    keywords.emplace_back("PWD", logon.password);
  } else if (family == DriverFamily::FreeTds || family == DriverFamily::MicrosoftSqlServer) {
    keywords.emplace_back("Trusted_Connection", "Yes");
  }
  std::erase_if(keywords, [](const auto& keyword) { return keyword.second.empty(); });
  return keywords;
}

/// Braces keep what would end the value. Within them a closing brace is doubled, which not every
/// version of FreeTDS takes for one: it gets braces only where there is no other way.
std::string Written(const std::string& name, const std::string& value, DriverFamily family) {
  const bool isFreeTds = family == DriverFamily::FreeTds;
  const bool isPlain = isFreeTds ? !Contains(value, ";") && value.front() != '{'
                                 : value.find_first_of(";{}") == std::string::npos &&
                                       value.front() != ' ' && value.back() != ' ';
  if (isPlain) return value;
  if (isFreeTds && Contains(value, "};"))
    throw PlatformError(0,
                        "the driver cannot be given the value of " + name +
                            ": the characters \"};\" would end it; choose another value",
                        "ODBC");
  std::string braced = "{";
  for (const char c : value) braced += c == '}' && !isFreeTds ? "}}" : std::string(1, c);
  return braced + "}";
}

}  // namespace

std::string ConnectionText(const DatabaseLogon& logon) {
  const DriverFamily family = FamilyOf(logon.address.driver);
  std::string text;
  for (const auto& [name, value] : KeywordsOf(logon))
    text += name + "=" + Written(name, value, family) + ";";
  return text;
}

std::string ShownConnectionText(const DatabaseLogon& logon) {
  std::string text;
  for (const auto& [name, value] : KeywordsOf(logon))
    text += (text.empty() ? "" : ";") + name + "=" + (IsSecret(name) ? "***" : value);
  return text;
}

}  // namespace torvik
