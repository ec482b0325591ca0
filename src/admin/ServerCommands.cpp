#include <CLI/CLI.hpp>

#include "admin/Admin.h"
#include "platform/PlatformError.h"
#include "platform/linux/EmbeddedServer.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

int InitServer(LinuxPlatform& platform, const Invocation& invocation,
               const std::string& warehouse) {
  const std::string& server = invocation.server.server;
  const std::string directory = platform.EmbeddedDirectory(server);
  CreateEmbeddedServer(directory);
  if (!warehouse.empty()) CreateWarehouse(directory, warehouse);
  PrintResult({{"server", server}, {"directory", directory}, {"warehouse", warehouse}},
              "server " + server + " is ready in " + directory +
                  (warehouse.empty() ? "" : ", with the warehouse " + warehouse),
              invocation.json);
  return 0;
}

}  // namespace

void AddServerCommands(CLI::App& app, Invocation& invocation) {
  CLI::App* server = app.add_subcommand("server", "embedded servers");
  server->require_subcommand(1);
  CLI::App* init = server->add_subcommand(
      "init", "make an embedded server with master and msdb; what is there already stays");
  auto warehouse = std::make_shared<std::string>();
  init->add_option("SERVER", invocation.server.server, "server text, as jobs name it")
      ->capture_default_str();
  init->add_option("--warehouse", *warehouse,
                   "also make this data-warehouse database, with its table of data links");
  AddJsonOption(*init, invocation);
  init->callback([&invocation, warehouse] {
    invocation.command = [&invocation, warehouse](LinuxPlatform& platform) {
      return InitServer(platform, invocation, *warehouse);
    };
  });
}

}  // namespace torvik::admin
