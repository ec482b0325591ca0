#include "platform/linux/sqlite/EmbeddedServer.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/sqlite/EmbeddedDirectory.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

constexpr const char* kEmbeddedServer = "embedded server";
constexpr int kTimeoutSeconds = 20;

/// The columns are those of the package table of SQL Server's msdb.
constexpr const char* kPackageTable = R"(
CREATE TABLE IF NOT EXISTS sysdtspackages (
  name         TEXT NOT NULL,
  id           UNIQUEIDENTIFIER NOT NULL,
  versionid    UNIQUEIDENTIFIER NOT NULL,
  description  TEXT,
  categoryid   UNIQUEIDENTIFIER,
  createdate   DATETIME,
  owner        TEXT,
  packagedata  IMAGE,
  owner_sid    VARBINARY(85),
  packagetype  INT NOT NULL DEFAULT 0,
  PRIMARY KEY (id, versionid)
))";

/// The latest version of a package is found by it; those of servers made before have none yet.
constexpr const char* kPackageIndex =
    "CREATE INDEX IF NOT EXISTS sysdtspackages_latest ON sysdtspackages (name, createdate)";

/// Likewise those of the logs of runs.
constexpr const char* kLogTables = R"(
CREATE TABLE IF NOT EXISTS sysdtspackagelog (
  name              NVARCHAR(128) NOT NULL,
  description       NVARCHAR(1000),
  id                UNIQUEIDENTIFIER NOT NULL,
  versionid         UNIQUEIDENTIFIER NOT NULL,
  lineagefull       UNIQUEIDENTIFIER NOT NULL PRIMARY KEY,
  lineageshort      INT NOT NULL,
  starttime         DATETIME NOT NULL,
  endtime           DATETIME,
  elapsedtime       DOUBLE PRECISION,
  computer          NVARCHAR(128) NOT NULL,
  operator          NVARCHAR(128) NOT NULL,
  logdate           DATETIME NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime')),
  errorcode         INT,
  errordescription  NVARCHAR(2000)
);
CREATE TABLE IF NOT EXISTS sysdtssteplog (
  stepexecutionid   INTEGER PRIMARY KEY AUTOINCREMENT,
  lineagefull       UNIQUEIDENTIFIER NOT NULL
    REFERENCES sysdtspackagelog (lineagefull) ON DELETE CASCADE,
  stepname          NVARCHAR(128) NOT NULL,
  stepexecstatus    INT,
  stepexecresult    INT,
  starttime         DATETIME,
  endtime           DATETIME,
  elapsedtime       DOUBLE PRECISION,
  errorcode         INT,
  errordescription  NVARCHAR(2000),
  progresscount     BIGINT
);
CREATE INDEX IF NOT EXISTS sysdtssteplog_lineage ON sysdtssteplog (lineagefull))";

constexpr const char* kDataLinkTable = R"(
CREATE TABLE IF NOT EXISTS dwm_data_link (
  model              TEXT NOT NULL,  -- the ETL model that the link belongs to
  source_name        TEXT NOT NULL,  -- the link's name
  Type               INT,            -- 1 SQL Server, 3 and 8 flat file, 4 Excel, 5 Access, 6 Oracle
  ds_server          TEXT,           -- database server, or the file for Access and Excel
  ds_database        TEXT,
  ds_trusted_login   BIT,            -- 1: the account's own logon instead of user and password
  ds_user            TEXT,
  ds_password        TEXT,
  ds_file            TEXT,           -- Access or Excel file
  ds_directory       TEXT,           -- local directory of flat files
  ds_connect_string  TEXT,
  transfer_data      INT,            -- 0 nothing is fetched, 1 by FTP, 2 from a share
  ftp_server         TEXT,
  ftp_user           TEXT,
  ftp_password       TEXT,
  remote_directory   TEXT,           -- FTP path or share path
  poll_duration      SMALLINT,       -- minutes
  poll_interval      SMALLINT,       -- minutes
  PRIMARY KEY (model, source_name)
))";

PlatformError Failure(const std::string& what, std::error_code reason) {
  return PlatformError(reason.value(), what + ": " + reason.message(), kEmbeddedServer);
}

void BringToDisk(const std::string& path) {
  const Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.IsOpen() || ::fsync(file.Number()) != 0)
    throw Failure(path + " cannot be brought to disk", LastSystemError());
}

/// A file under a name that no other process has, removed at the end.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& directory) : path_(directory + "/.new-XXXXXX") {
    const Descriptor file(::mkostemp(path_.data(), O_CLOEXEC));
    if (!file.IsOpen())
      throw Failure("no file can be made in the directory " + directory, LastSystemError());
  }
  ~TemporaryFile() { ::unlink(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

/// The journal mode is kept in the file, so that every later connection has it.
void MakeEmptyDatabase(const std::string& path) {
  sqlite3* handle = nullptr;
  int code = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
  if (code == SQLITE_OK)
    code = sqlite3_exec(handle, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
  const std::string words = sqlite3_errmsg(handle);
  sqlite3_close(handle);
  if (code != SQLITE_OK)
    throw PlatformError(code, "the database " + path + " cannot be made: " + words,
                        kEmbeddedServer);
}

bool HasDatabase(const std::string& directory, const std::string& name) {
  return std::ranges::any_of(EmbeddedDatabases(directory), [&](const EmbeddedDatabase& database) {
    return EqualsIgnoringCase(database.name, name);
  });
}

/// The file appears under its name complete or not at all, and never in place of another one.
void CreateDatabase(const std::string& directory, const std::string& name) {
  if (const std::string reason = UnfitDatabaseName(name); !reason.empty())
    throw PlatformError(0, "\"" + name + "\" cannot be the name of a database: " + reason,
                        kEmbeddedServer);
  if (HasDatabase(directory, name)) return;
  const TemporaryFile file(directory);
  MakeEmptyDatabase(file.Path());
  BringToDisk(file.Path());
  const std::string path = directory + "/" + name + ".db";
  if (::link(file.Path().c_str(), path.c_str()) != 0 && errno != EEXIST)
    throw Failure("the database " + path + " cannot be made", LastSystemError());
  BringToDisk(directory);
}

void RunOnce(const std::string& directory, const std::string& database, const char* sql) {
  SqliteSession(directory, database, kTimeoutSeconds).Run(sql);
}

}  // namespace

void CreateEmbeddedServer(const std::string& directory) {
  // A server's files hold passwords: no one else may read what is made here.
  if (const auto reason = MakePrivateDirectory(directory))
    throw Failure("the directory " + directory + " cannot be made", reason);
  CreateDatabase(directory, "master");
  CreateDatabase(directory, "msdb");
  RunOnce(directory, "msdb", kPackageTable);
  RunOnce(directory, "msdb", kPackageIndex);
  RunOnce(directory, "msdb", kLogTables);
}

void CreateWarehouse(const std::string& directory, const std::string& name) {
  CreateDatabase(directory, name);
  RunOnce(directory, name, kDataLinkTable);
}

}  // namespace torvik
