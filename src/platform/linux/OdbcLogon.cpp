#include "platform/linux/OdbcLogon.h"

#include <algorithm>

#include "platform/PlatformError.h"
#include "platform/Text.h"

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

std::string DatabaseOf(const OdbcLogon& logon) {
  const OdbcPlace& place = logon.place;
  if (FamilyOf(place.driver) != OdbcFamily::PostgreSql)
    return logon.database.empty() ? place.database : logon.database;
  if (!logon.database.empty() && !IsSystemDatabase(logon.database)) return logon.database;
  return place.database.empty() ? "postgres" : place.database;
}

/// A SQL Server whose instance is named says by itself which port that one has.
std::string PortOf(const OdbcPlace& place, const char* standard) {
  return place.port.empty() && !Contains(place.host, "\\") ? standard : place.port;
}

void AddHost(Keywords& keywords, const OdbcPlace& place) {
  switch (FamilyOf(place.driver)) {
    case OdbcFamily::FreeTds:
      keywords.emplace_back("SERVER", place.host);
      keywords.emplace_back("PORT", PortOf(place, "1433"));
      break;
    case OdbcFamily::MicrosoftSqlServer:
      keywords.emplace_back("SERVER", place.host + (place.port.empty() ? "" : "," + place.port));
      break;
    case OdbcFamily::PostgreSql:
      keywords.emplace_back("SERVER", place.host);
      keywords.emplace_back("PORT", PortOf(place, "5432"));
      break;
    case OdbcFamily::Oracle: keywords.emplace_back("DBQ", place.host); break;
    case OdbcFamily::Other:
      keywords.emplace_back("SERVER", place.host);
      keywords.emplace_back("PORT", place.port);
      break;
  }
}

/// What a driver needs to behave as the others do. The settings may say otherwise.
Keywords StandardOptions(OdbcFamily family) {
  switch (family) {
    // The server answers with a lower version when it has no 7.4.
    case OdbcFamily::FreeTds:
      return {{"TDS_Version", "7.4"}, {"ClientCharset", "UTF-8"}, {"APP", kApplication}};
    case OdbcFamily::MicrosoftSqlServer: return {{"APP", kApplication}};
    // Booleans as bits; a statement that fails undoes itself alone, not its whole transaction.
    case OdbcFamily::PostgreSql: return {{"BoolsAsChar", "0"}, {"Protocol", "7.4-2"}};
    default: return {};
  }
}

Keywords KeywordsOf(const OdbcLogon& logon) {
  const OdbcPlace& place = logon.place;
  const OdbcFamily family = FamilyOf(place.driver);
  Keywords keywords;
  if (place.dataSource.empty()) {
    keywords.emplace_back("DRIVER", place.driver);
    AddHost(keywords, place);
  } else {
    keywords.emplace_back("DSN", place.dataSource);
  }
  if (family != OdbcFamily::Oracle) keywords.emplace_back("DATABASE", DatabaseOf(logon));
  for (const auto& [name, value] : place.options)
    if (logon.isTrusted || (name != "uid" && name != "pwd")) keywords.emplace_back(name, value);
  for (const auto& [name, value] : StandardOptions(family))
    if (place.options.count(LowerAscii(name)) == 0) keywords.emplace_back(name, value);
  if (!logon.isTrusted) {
    keywords.emplace_back("UID", logon.user);
    keywords.emplace_back("PWD", logon.password);
  } else if (family == OdbcFamily::FreeTds || family == OdbcFamily::MicrosoftSqlServer) {
    keywords.emplace_back("Trusted_Connection", "Yes");
  }
  std::erase_if(keywords, [](const auto& keyword) { return keyword.second.empty(); });
  return keywords;
}

/// Braces keep what would end the value. Within them a closing brace is doubled, which not every
/// version of FreeTDS takes for one: it gets braces only where there is no other way.
std::string Written(const std::string& name, const std::string& value, OdbcFamily family) {
  const bool isFreeTds = family == OdbcFamily::FreeTds;
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

OdbcFamily FamilyOf(const std::string& driver) {
  const std::string name = LowerAscii(driver);
  if (Contains(name, "psqlodbc") || Contains(name, "postgres")) return OdbcFamily::PostgreSql;
  if (Contains(name, "freetds") || Contains(name, "tdsodbc")) return OdbcFamily::FreeTds;
  if (Contains(name, "msodbcsql") || Contains(name, "sql server"))
    return OdbcFamily::MicrosoftSqlServer;
  if (Contains(name, "oracle") || Contains(name, "sqora")) return OdbcFamily::Oracle;
  return OdbcFamily::Other;
}

std::string ConnectionText(const OdbcLogon& logon) {
  const OdbcFamily family = FamilyOf(logon.place.driver);
  std::string text;
  for (const auto& [name, value] : KeywordsOf(logon))
    text += name + "=" + Written(name, value, family) + ";";
  return text;
}

std::string ShownConnectionText(const OdbcLogon& logon) {
  std::string text;
  for (const auto& [name, value] : KeywordsOf(logon))
    text += (text.empty() ? "" : ";") + name + "=" + (IsSecret(name) ? "***" : value);
  return text;
}

bool IsSystemDatabase(const std::string& name) {
  return EqualsIgnoringCase(name, "master") || EqualsIgnoringCase(name, "msdb");
}

}  // namespace torvik
