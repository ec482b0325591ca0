#include "platform/linux/database/DriverFamily.h"

#include "platform/Text.h"

namespace torvik {
namespace {

bool Holds(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

DriverFamily FamilyOf(const std::string& driver) {
  const std::string name = LowerAscii(driver);
  if (Holds(name, "psqlodbc") || Holds(name, "postgres")) return DriverFamily::PostgreSql;
  if (Holds(name, "freetds") || Holds(name, "tdsodbc")) return DriverFamily::FreeTds;
  if (Holds(name, "msodbcsql") || Holds(name, "sql server"))
    return DriverFamily::MicrosoftSqlServer;
  if (Holds(name, "oracle") || Holds(name, "sqora")) return DriverFamily::Oracle;
  return DriverFamily::Other;
}

}  // namespace torvik
