#include "admin/common/Commands.h"
#include "platform/linux/shares/smb/SmbBrowse.h"

namespace torvik::admin {
namespace {

struct NetworkOptions {};

int ListComputers(LinuxPlatform&, const Invocation& invocation, const NetworkOptions&) {
  std::string lines;
  Json names = Json::array();
  for (const std::string& name : BrowseSmbComputers()) {
    lines += (lines.empty() ? "" : "\n") + name;
    names.push_back(name);
  }
  PrintResult({{"computers", names}}, lines, invocation.json);
  return 0;
}

}  // namespace

void AddNetworkCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<NetworkOptions> group(app, invocation, "network", "the network around this machine");
  group.Add("list", "list the computers that offer shares; may take many seconds", ListComputers);
}

}  // namespace torvik::admin
