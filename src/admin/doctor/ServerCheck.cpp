#include "admin/doctor/ServerCheck.h"

#include <optional>

#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/DriverFamily.h"
#include "platform/linux/database/ServerPlace.h"
#include "platform/linux/odbc/AdoOdbc.h"

namespace torvik::admin {
namespace {

constexpr const char* kCheckedProvider = "SQLOLEDB";
constexpr int kCheckSeconds = 20;

/// A question whose one answer is a row of the report. A right answers 1 when it is there.
struct Question {
  const char* what;
  const char* sql;
  const char* missing = nullptr;  ///< What to do when the answer is empty or 0; none: a plain fact.
  bool isOfTable = false;         ///< Of the package table: nothing to ask without it.
};

/// How one kind of server is asked, and what is used of it.
struct ServerKind {
  const char *name, *loads, *cursors;
  std::vector<Question> questions;
};

constexpr const char* kMakeTable = "there is none; make it with torvik-admin server init";

const ServerKind kSqlServer = {
    "SQL Server",
    "bulk copy by FreeTDS where the table's types allow it, else arrays of rows for one INSERT",
    "one forward-only result at a time; updates by key, each checked to change one row",
    {{"version", "SELECT CAST(SERVERPROPERTY('ProductVersion') AS nvarchar(128))"},
     {"edition", "SELECT CAST(SERVERPROPERTY('Edition') AS nvarchar(128))"},
     {"collation", "SELECT CAST(SERVERPROPERTY('Collation') AS nvarchar(128))"},
     {"code page",
      "SELECT CAST(COLLATIONPROPERTY(CAST(SERVERPROPERTY('Collation') AS nvarchar(128)), "
      "'CodePage') AS int)"},
     {"logged on as", "SELECT SUSER_SNAME()"},
     {"package table", "SELECT OBJECT_ID(N'dbo.sysdtspackages')", kMakeTable},
     {"right to read packages",
      "SELECT HAS_PERMS_BY_NAME('dbo.sysdtspackages', 'OBJECT', 'SELECT')",
      "GRANT SELECT ON msdb.dbo.sysdtspackages TO the login's user", true},
     {"right to save packages",
      "SELECT HAS_PERMS_BY_NAME('dbo.sysdtspackages', 'OBJECT', 'INSERT')",
      "GRANT INSERT ON msdb.dbo.sysdtspackages TO the login's user, if it is to save packages",
      true},
     {"right to BULK INSERT from a file of the server",
      "SELECT CASE HAS_PERMS_BY_NAME(NULL, NULL, 'ADMINISTER BULK OPERATIONS') WHEN 1 THEN 'there' "
      "ELSE 'not there; only scripts that run BULK INSERT need it' END"}}};

const ServerKind kPostgreSql = {
    "PostgreSQL",
    "COPY, binary where the table's types allow it",
    "rows as they come, or a cursor beside other statements",
    {{"version", "SELECT current_setting('server_version')"},
     {"collation",
      "SELECT datcollate FROM pg_catalog.pg_database WHERE datname = current_database()"},
     {"code page", "SELECT current_setting('server_encoding')"},
     {"logged on as", "SELECT current_user::text"},
     {"package table",
      "SELECT c.relname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n "
      "ON n.oid = c.relnamespace WHERE n.nspname = 'msdb' AND c.relname = 'sysdtspackages'",
      kMakeTable},
     {"right to read packages",
      "SELECT has_schema_privilege(n.oid, 'USAGE') AND has_table_privilege(c.oid, 'SELECT') "
      "FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
      "WHERE n.nspname = 'msdb' AND c.relname = 'sysdtspackages'",
      "GRANT SELECT ON msdb.sysdtspackages TO the user, and USAGE ON SCHEMA msdb", true},
     {"right to save packages",
      "SELECT has_schema_privilege(n.oid, 'USAGE') AND has_table_privilege(c.oid, 'INSERT') "
      "FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
      "WHERE n.nspname = 'msdb' AND c.relname = 'sysdtspackages'",
      "GRANT INSERT ON msdb.sysdtspackages TO the user, if it is to save packages", true}}};

const ServerKind kEmbedded = {
    "embedded",
    "one INSERT, compiled once",
    "rows as they come",
    {{"version", "SELECT 'SQLite ' || sqlite_version()"},
     {"code page", "SELECT encoding FROM pragma_encoding"},
     {"package table", "SELECT name FROM sqlite_schema WHERE name = 'sysdtspackages'",
      kMakeTable}}};

const ServerKind kOther = {
    "of another kind", "arrays of rows for one INSERT", "one forward-only result at a time", {}};

const ServerKind& ServerKindOf(const ServerPlace& place) {
  if (place.kind == ServerPlace::Kind::Embedded) return kEmbedded;
  if (place.kind == ServerPlace::Kind::PostgreSql) return kPostgreSql;
  switch (FamilyOf(place.address.driver)) {
    case DriverFamily::FreeTds:
    case DriverFamily::MicrosoftSqlServer: return kSqlServer;
    case DriverFamily::PostgreSql: return kPostgreSql;
    default: return kOther;
  }
}

/// The first value of a query as text; empty for NULL and for no row.
std::string AnswerOf(ado::Connection& connection, const char* sql) {
  const auto rows = connection.OpenRecordset(sql, {});
  if (rows->Eof()) return "";
  const ado::Value value = rows->Field(0);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  return "";
}

/// False when what is asked for is not there.
bool Ask(ado::Connection& connection, const Question& question, CheckReport& report) {
  try {
    const std::string answer = AnswerOf(connection, question.sql);
    const bool isThere = !answer.empty() && answer != "0";
    if (question.missing != nullptr && !isThere)
      return report.Problem(question.what, question.missing), false;
    report.Ok(question.what, question.missing == nullptr ? answer : "there");
    return true;
  } catch (const PlatformError& error) {
    report.NotChecked(question.what, error.Description());
    return false;
  }
}

}  // namespace

void CheckServer(LinuxPlatform& platform, const ServerChoice& choice, CheckReport& report) {
  const ServerPlace place =
      FindServerPlace(platform.settings, kCheckedProvider, choice.server, DriverOfDataSource);
  const ServerKind& kind = ServerKindOf(place);
  const bool isEmbedded = place.kind == ServerPlace::Kind::Embedded;
  const std::string password = ReadPassword(choice);
  report.AddSecret(password);
  report.Ok("kind", kind.name);
  report.Ok("place", isEmbedded                         ? place.path
                     : place.address.dataSource.empty() ? place.address.host
                                                        : place.address.dataSource);
  if (!isEmbedded && !place.address.driver.empty()) report.Ok("driver", place.address.driver);
  const auto connection = platform.databases->NewConnection();
  connection->SetProvider(kCheckedProvider);
  connection->SetConnectionTimeout(kCheckSeconds);
  connection->SetProperty("Data Source", choice.server);
  connection->SetProperty("Initial Catalog", "msdb");
  if (choice.user.empty()) {
    connection->SetProperty("Integrated Security", "SSPI");
  } else {
    connection->SetProperty("User ID", choice.user);
    connection->SetProperty("Password", password);
  }
  try {
    connection->Open();
  } catch (const PlatformError& error) {
    return report.Problem("logon to msdb", error.Description());
  }
  report.Ok("logon to msdb", "the server is there and lets this user in");
  bool hasTable = true;
  for (const Question& question : kind.questions) {
    if (question.isOfTable && !hasTable)
      report.NotChecked(question.what, "there is no package table");
    else if (!Ask(*connection, question, report) && question.missing == kMakeTable)
      hasTable = false;
  }
  report.Ok("loads", kind.loads);
  report.Ok("cursors", kind.cursors);
}

}  // namespace torvik::admin
