#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "admin/Admin.h"
#include "platform/PlatformError.h"
#include "platform/Version.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/ProcessSetup.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int Fail(const std::string& reason) {
  std::fprintf(stderr, "torvik-admin: %s\n", reason.c_str());
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace torvik;
  GuardStandardStreams();
  CLI::App app("Prepares what torvik runs: servers, packages, data links; and runs a job.");
  app.set_version_flag("--version", std::string("torvik-admin ") + kVersion);
  app.require_subcommand(1);
  app.footer("Exit code: 0 done, 1 failed, 2 wrong use. Settings: docs/settings.md.");
  admin::Invocation invocation;
  admin::AddServerCommands(app, invocation);
  admin::AddPackageCommands(app, invocation);
  admin::AddLinkCommands(app, invocation);
  admin::AddNetworkCommands(app, invocation);
  admin::AddJobCommands(app, invocation);
  admin::AddRunCommand(app, invocation);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUse;
  }
  try {
    LinuxPlatform platform = NewLinuxPlatform([] {});
    return invocation.command(platform);
  } catch (const std::exception& error) {
    return Fail(WordsOf(error));
  }
}
