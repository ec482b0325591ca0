#include "platform/linux/database/ServerPlace.h"

#include <gmock/gmock.h>

#include "platform/PlatformError.h"
#include "platform/linux/database/ConnectionText.h"
#include "platform/linux/settings/SettingsFile.h"

namespace torvik {
namespace {

using testing::HasSubstr;

constexpr const char* kSettings = R"(
[server (local)]
backend = embedded
directory = /srv/local
[server DWPROD]
backend = odbc
host = db1\prod
encryption = require
[server pg]
backend = odbc
driver = PostgreSQL Unicode
host = db2
port = 5433
database = etl
uid = runner
[server native]
backend = postgresql
host = db3
uid = runner
[server old]
backend = odbc
dsn = legacy
[provider MSDAORA.1]
driver = Oracle 19 ODBC driver
[provider DB2OLEDB]
driver = IBM DB2
protocol = TCPIP
)";

std::string DriverOf(const std::string& dataSource) {
  if (dataSource == "legacy") return "FreeTDS";
  if (dataSource == "sales") return "PostgreSQL ANSI";
  return "";
}

/// What a connection asks its driver for, or the file or directory that it opens, or the error.
std::string Asked(const std::string& provider, const std::string& server, DatabaseLogon logon) {
  Settings settings;
  EXPECT_EQ(ParseSettings(kSettings, settings), "");
  try {
    const ServerPlace place = FindServerPlace(settings, provider, server, DriverOf);
    if (place.kind == ServerPlace::Kind::Embedded) return "embedded " + place.path;
    if (place.kind == ServerPlace::Kind::TableFile) return "file " + place.path;
    logon.address = place.address;
    const bool isPostgreSql = place.kind == ServerPlace::Kind::PostgreSql;
    return (isPostgreSql ? "PostgreSQL " : "") + ConnectionText(logon);
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

TEST(ServerPlace, IsFoundByTheSettingsThenADataSourceThenTheProvidersDriver) {
  const std::string tds = "TDS_Version=7.4;ClientCharset=UTF-8;APP=torvik;";
  const std::string pg = "BoolsAsChar=0;Protocol=7.4-2;";
  const DatabaseLogon trusted{{}, "DW", true, "", ""}, user{{}, "DW", false, "sa", "x;{y}"};
  const DatabaseLogon msdb{{}, "msdb", true, "", ""}, none{{}, "", true, "", ""};
  const struct {
    const char* provider;
    const char* server;
    const DatabaseLogon& logon;
    std::string asked;
  } cases[] = {
      {"SQLOLEDB", "(LOCAL)", trusted, "embedded /srv/local"},
      {"sqloledb", "dwprod", trusted,
       "DRIVER=FreeTDS;SERVER=db1\\prod;DATABASE=DW;encryption=require;" + tds +
           "Trusted_Connection=Yes;"},
      {"SQLOLEDB.1", "db3", user,
       "DRIVER=FreeTDS;SERVER=db3;PORT=1433;DATABASE=DW;" + tds + "UID=sa;PWD={x;{y}};"},
      {"SQLOLEDB", "tcp:db3,1500", none,
       "DRIVER=FreeTDS;SERVER=db3;PORT=1500;" + tds + "Trusted_Connection=Yes;"},
      {"SQLOLEDB", ".\\x", none,
       "DRIVER=FreeTDS;SERVER=localhost\\x;" + tds + "Trusted_Connection=Yes;"},
      {"SQLOLEDB", "old", msdb, "DSN=legacy;DATABASE=msdb;" + tds + "Trusted_Connection=Yes;"},
      {"SQLOLEDB", "PG", trusted,
       "PostgreSQL DRIVER=PostgreSQL Unicode;SERVER=db2;PORT=5433;DATABASE=DW;uid=runner;" + pg},
      {"SQLOLEDB", "pg", msdb,
       "PostgreSQL DRIVER=PostgreSQL Unicode;SERVER=db2;PORT=5433;DATABASE=etl;uid=runner;" + pg},
      {"SQLOLEDB", "pg", user,
       "PostgreSQL DRIVER=PostgreSQL Unicode;SERVER=db2;PORT=5433;DATABASE=DW;" + pg +
           "UID=sa;PWD={x;{y}}};"},
      {"SQLOLEDB", "native", none, "PostgreSQL SERVER=db3;uid=runner;"},
      {"", "sales", msdb, "DSN=sales;DATABASE=postgres;" + pg},
      {"MSDAORA", "ORCL", user, "DRIVER=Oracle 19 ODBC driver;DBQ=ORCL;UID=sa;PWD={x;{y}}};"},
      {"DB2OLEDB.1", "as400", none, "DRIVER=IBM DB2;SERVER=as400;protocol=TCPIP;"},
      {"Microsoft.Jet.OLEDB.4.0", "/in/sales.xls", none, "file /in/sales.xls"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.asked, Asked(c.provider, c.server, c.logon)) << c.provider << " " << c.server;
  EXPECT_THAT(Asked("", "nowhere", none), HasSubstr("add a section [server nowhere]"));
  EXPECT_THAT(Asked("OraOLEDB.Oracle", "ORCL", none), HasSubstr("[provider OraOLEDB.Oracle]"));
}

TEST(ServerPlace, ThePasswordIsNeverShown) {
  DatabaseLogon logon{{}, "DW", false, "sa", "secret"};
  logon.address.driver = "FreeTDS";
  logon.address.options["pwd"] = "hidden";
  EXPECT_THAT(ShownConnectionText(logon), HasSubstr("UID=sa;PWD=***"));
  logon.isTrusted = true;
  EXPECT_THAT(ShownConnectionText(logon), HasSubstr("pwd=***"));
}

}  // namespace
}  // namespace torvik
