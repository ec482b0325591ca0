#include "platform/linux/database/ServerSetup.h"

#include "platform/PlatformError.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

constexpr int kTimeoutSeconds = 20;

/// The statements of one kind of server.
struct SetupSql {
  const char* packageTable;
  const char* findDatabase;  ///< A database's name follows, as a text.
  const char* linkTable;
};

constexpr SetupSql kPostgreSql = {
    R"(
CREATE SCHEMA IF NOT EXISTS master;
CREATE SCHEMA IF NOT EXISTS msdb;
CREATE TABLE IF NOT EXISTS msdb.sysdtspackages (
  name         varchar(128) NOT NULL,
  id           uuid NOT NULL,
  versionid    uuid NOT NULL,
  description  varchar(1024),
  categoryid   uuid NOT NULL,
  createdate   timestamp(3),
  owner        varchar(128) NOT NULL,
  packagedata  bytea,
  owner_sid    bytea,
  packagetype  int NOT NULL DEFAULT 0,
  PRIMARY KEY (id, versionid));
CREATE INDEX IF NOT EXISTS sysdtspackages_latest ON msdb.sysdtspackages (name, createdate))",
    "SELECT datname FROM pg_catalog.pg_database WHERE datname = ", R"(
CREATE TABLE IF NOT EXISTS dwm_data_link (
  model              varchar(128) NOT NULL,
  source_name        varchar(128) NOT NULL,
  Type               int,
  ds_server          varchar(255),
  ds_database        varchar(128),
  ds_trusted_login   boolean,
  ds_user            varchar(128),
  ds_password        varchar(128),
  ds_file            varchar(255),
  ds_directory       varchar(255),
  ds_connect_string  varchar(1024),
  transfer_data      int,
  ftp_server         varchar(255),
  ftp_user           varchar(128),
  ftp_password       varchar(128),
  remote_directory   varchar(255),
  poll_duration      smallint,
  poll_interval      smallint,
  PRIMARY KEY (model, source_name)))"};

constexpr SetupSql kSqlServer = {
    R"(
IF OBJECT_ID(N'msdb.dbo.sysdtspackages') IS NULL BEGIN
CREATE TABLE msdb.dbo.sysdtspackages (
  name         nvarchar(128) NOT NULL,
  id           uniqueidentifier NOT NULL,
  versionid    uniqueidentifier NOT NULL,
  description  nvarchar(1024) NULL,
  categoryid   uniqueidentifier NOT NULL,
  createdate   datetime NULL,
  owner        nvarchar(128) NOT NULL,
  packagedata  image NULL,
  owner_sid    varbinary(85) NOT NULL DEFAULT SUSER_SID(),
  packagetype  int NOT NULL DEFAULT 0,
  PRIMARY KEY (id, versionid));
CREATE INDEX sysdtspackages_latest ON msdb.dbo.sysdtspackages (name, createdate) END)",
    "SELECT name FROM master.dbo.sysdatabases WHERE name = ", R"(
IF OBJECT_ID(N'dwm_data_link') IS NULL
CREATE TABLE dwm_data_link (
  model              nvarchar(128) NOT NULL,
  source_name        nvarchar(128) NOT NULL,
  Type               int NULL,
  ds_server          nvarchar(255) NULL,
  ds_database        nvarchar(128) NULL,
  ds_trusted_login   bit NULL,
  ds_user            nvarchar(128) NULL,
  ds_password        nvarchar(128) NULL,
  ds_file            nvarchar(255) NULL,
  ds_directory       nvarchar(255) NULL,
  ds_connect_string  nvarchar(1024) NULL,
  transfer_data      int NULL,
  ftp_server         nvarchar(255) NULL,
  ftp_user           nvarchar(128) NULL,
  ftp_password       nvarchar(128) NULL,
  remote_directory   nvarchar(255) NULL,
  poll_duration      smallint NULL,
  poll_interval      smallint NULL,
  PRIMARY KEY (model, source_name)))"};

const SetupSql& SqlFor(DriverFamily family, const std::string& server) {
  switch (family) {
    case DriverFamily::PostgreSql: return kPostgreSql;
    case DriverFamily::FreeTds:
    case DriverFamily::MicrosoftSqlServer: return kSqlServer;
    default: break;
  }
  throw PlatformError(0,
                      "the server " + server +
                          " is neither SQL Server nor PostgreSQL; packages are kept on one of "
                          "these or on an embedded server",
                      "server setup");
}

std::unique_ptr<ado::Connection> Open(ado::Provider& databases, const SetupLogon& logon,
                                      const std::string& database) {
  auto connection = databases.NewConnection();
  connection->SetProvider("SQLOLEDB");
  connection->SetConnectionTimeout(kTimeoutSeconds);
  connection->SetProperty("Data Source", logon.server);
  connection->SetProperty("Initial Catalog", database);
  if (logon.isTrusted) {
    connection->SetProperty("Integrated Security", "SSPI");
  } else {
    connection->SetProperty("User ID", logon.user);
    connection->SetProperty("Password", logon.password);
  }
  connection->Open();
  return connection;
}

}  // namespace

void SetUpServer(ado::Provider& databases, DriverFamily family, const SetupLogon& logon,
                 const std::string& warehouse) {
  const SetupSql& sql = SqlFor(family, logon.server);
  const auto msdb = Open(databases, logon, "msdb");
  msdb->Execute(sql.packageTable);
  if (warehouse.empty()) return;
  if (msdb->OpenRecordset(sql.findDatabase + QuotedText(warehouse), {})->Eof())
    msdb->Execute("CREATE DATABASE " + QuotedName(warehouse));
  Open(databases, logon, warehouse)->Execute(sql.linkTable);
}

}  // namespace torvik
