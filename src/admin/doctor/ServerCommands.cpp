#include <CLI/CLI.hpp>

#include "admin/common/Admin.h"
#include "admin/doctor/ServerCheck.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/ServerSetup.h"
#include "platform/linux/odbc/AdoOdbc.h"
#include "platform/linux/sqlite/EmbeddedServer.h"

namespace torvik::admin {
namespace {

constexpr const char* kProvider = "SQLOLEDB";

/// Makes what is missing; answers where the server is.
std::string SetUp(LinuxPlatform& platform, const ServerChoice& choice,
                  const std::string& warehouse) {
  const ServerPlace place =
      FindServerPlace(platform.settings, kProvider, choice.server, DriverOfDataSource);
  const bool isPostgreSql = place.kind == ServerPlace::Kind::PostgreSql;
  if (isPostgreSql || place.kind == ServerPlace::Kind::Odbc) {
    SetUpServer(*platform.databases,
                isPostgreSql ? DriverFamily::PostgreSql : FamilyOf(place.address.driver),
                {choice.server, choice.user.empty(), choice.user, ReadPassword(choice)}, warehouse);
    return place.address.dataSource.empty() ? place.address.host : place.address.dataSource;
  }
  CreateEmbeddedServer(place.path);
  if (!warehouse.empty()) CreateWarehouse(place.path, warehouse);
  return place.path;
}

int InitServer(LinuxPlatform& platform, const Invocation& invocation,
               const std::string& warehouse) {
  const std::string& server = invocation.server.server;
  const std::string place = SetUp(platform, invocation.server, warehouse);
  PrintResult({{"server", server}, {"place", place}, {"warehouse", warehouse}},
              "server " + server + " is ready in " + place +
                  (warehouse.empty() ? "" : ", with the warehouse " + warehouse),
              invocation.json);
  return 0;
}

int CheckOneServer(LinuxPlatform& platform, const Invocation& invocation) {
  CheckReport report;
  CheckServer(platform, invocation.server, report);
  report.Print("server", invocation.server.server, invocation.json);
  return report.HasProblems() ? 1 : 0;
}

}  // namespace

void AddServerCommands(CLI::App& app, Invocation& invocation) {
  CLI::App* server = app.add_subcommand("server", "servers of packages and warehouses");
  server->require_subcommand(1);
  CLI::App* init = server->add_subcommand(
      "init", "make an embedded server, or the tables that any other needs; what is there stays");
  auto warehouse = std::make_shared<std::string>();
  init->add_option("SERVER", invocation.server.server, "server text, as jobs name it")
      ->capture_default_str();
  init->add_option("--warehouse", *warehouse,
                   "also make this data-warehouse database, with its table of data links");
  AddLogonOptions(*init, invocation);
  AddJsonOption(*init, invocation);
  init->callback([&invocation, warehouse] {
    invocation.command = [&invocation, warehouse](LinuxPlatform& platform) {
      return InitServer(platform, invocation, *warehouse);
    };
  });
  CLI::App* check = server->add_subcommand(
      "check", "log on, tell what the server is and what is missing there; changes nothing");
  check->add_option("SERVER", invocation.server.server, "server text, as jobs name it")
      ->capture_default_str();
  AddLogonOptions(*check, invocation);
  AddJsonOption(*check, invocation);
  check->callback([&invocation] {
    invocation.command = [&invocation](LinuxPlatform& platform) {
      return CheckOneServer(platform, invocation);
    };
  });
}

}  // namespace torvik::admin
