#include "platform/linux/database/DriverFamily.h"

#include "platform/Text.h"

namespace torvik {
namespace {

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

DriverFamily FamilyOf(const std::string& driver) {
  const std::string name = LowerAscii(driver);
  if (Contains(name, "psqlodbc") || Contains(name, "postgres")) return DriverFamily::PostgreSql;
  if (Contains(name, "freetds") || Contains(name, "tdsodbc")) return DriverFamily::FreeTds;
  if (Contains(name, "msodbcsql") || Contains(name, "sql server"))
    return DriverFamily::MicrosoftSqlServer;
  if (Contains(name, "oracle") || Contains(name, "sqora")) return DriverFamily::Oracle;
  return DriverFamily::Other;
}

}  // namespace torvik
