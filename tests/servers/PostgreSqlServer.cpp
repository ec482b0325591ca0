#include "servers/PostgreSqlServer.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "platform/linux/AdoServers.h"
#include "servers/PrivateServer.h"

/// psqlODBC forgets a little memory when a statement with an array of parameters fails.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:psqlodbcw.so\n";
}

namespace torvik {
namespace {

const std::string kScript = std::string(TORVIK_SOURCE_DIR) + "/scripts/private-postgresql ";

}  // namespace

PostgreSqlServer& PostgreSqlServer::Instance() {
  static PostgreSqlServer server;
  return server;
}

PostgreSqlServer::PostgreSqlServer() {
  std::string pattern = (std::filesystem::temp_directory_path() / "torvik-pg-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
  directory_ = pattern;
  chmod(directory_.c_str(), 0755);  // the server may run as another user
  port_ = std::stoi(OutputOf(kScript + "start " + directory_ + " -c fsync=off"));
  std::getline(std::ifstream(directory_ + "/password"), password_);
  std::ofstream(PasswordFile()) << "127.0.0.1:*:*:torvik:" << password_ << "\n";
  chmod(PasswordFile().c_str(), 0600);
  setenv("PGPASSFILE", PasswordFile().c_str(), 1);
  std::ofstream(DataSourceFile()) << "[torvik_test]\nDriver=PostgreSQL Unicode\n"
                                     "Servername=127.0.0.1\nPort="
                                  << port_ << "\n";
  setenv("ODBCINI", DataSourceFile().c_str(), 1);
}

PostgreSqlServer::~PostgreSqlServer() {
  OutputOf(kScript + "stop " + directory_);
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

Settings PostgreSqlServer::AsServer(const std::string& server) const {
  Settings settings;
  settings.servers[server] = {
      "odbc",
      "",
      {{"driver", "PostgreSQL Unicode"}, {"host", "127.0.0.1"}, {"port", std::to_string(port_)}}};
  settings.servers["by odbc"] = {"odbc", "", {{"dsn", "torvik_test"}}};
  return settings;
}

std::string PostgreSqlServer::Section(const std::string& server) const {
  return "[server " + server + "]\nbackend = postgresql\n" +
         "host = 127.0.0.1\nport = " + std::to_string(port_) + "\nuid = torvik\n";
}

std::unique_ptr<ado::Connection> PostgreSqlServer::NewConnection(const std::string& database,
                                                                 const std::string& server) const {
  auto connection = NewAdoProvider(AsServer("pg"))->NewConnection();
  connection->SetProvider("SQLOLEDB");
  connection->SetConnectionTimeout(20);
  connection->SetProperty("Data Source", server);
  connection->SetProperty("User ID", "torvik");
  connection->SetProperty("Password", password_);
  if (!database.empty()) connection->SetProperty("Initial Catalog", database);
  return connection;
}

std::string PostgreSqlServer::Dump() const {
  // The lines left out hold a key that is new in each dump.
  return OutputOf("pg_dumpall -h 127.0.0.1 -p " + std::to_string(port_) +
                  " -U torvik | grep -v restrict");
}

void PostgreSqlServer::MakeDatabase(const std::string& name) const {
  const auto connection = NewConnection();
  connection->Open();
  connection->Execute("DROP DATABASE IF EXISTS \"" + name + "\" WITH (FORCE)");
  connection->Execute("CREATE DATABASE \"" + name + "\"");
}

}  // namespace torvik
