#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "admin/Completion.h"
#include "admin/common/Admin.h"
#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Version.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/shares/SmbReader.h"
#include "platform/linux/system/ProcessSetup.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int Fail(const std::string& reason) {
  std::fprintf(stderr, "torvik-admin: %s\n", reason.c_str());
  return kFailed;
}

/// The library tells only that a subcommand is missing when it does not know the word.
std::string UnknownCommand(const CLI::App& app) {
  const CLI::App* group = &app;
  while (!group->get_subcommands().empty()) group = group->get_subcommands().front();
  std::vector<std::string> known;
  for (const CLI::App* command : group->get_subcommands({})) known.push_back(command->get_name());
  const std::vector<std::string> left = group->remaining();
  if (known.empty() || left.empty() || left.front().starts_with('-')) return {};
  using namespace torvik::engine;
  return "there is no command " + Quoted(left.front()) + "; " +
         DidYouMean(left.front(), known, UseOneOf(known));
}

int WrongUse(const CLI::App& app, const CLI::ParseError& error) {
  const std::string unknown = UnknownCommand(app);
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success) || unknown.empty())
    return app.exit(error) == 0 ? 0 : kWrongUse;
  Fail(unknown);
  return kWrongUse;
}

/// What a command has printed may be its whole result. A reader who has seen enough has it.
int FinishOutput(int exitCode) {
  errno = 0;
  const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (isWritten || errno == EPIPE) return exitCode;
  const int failed = Fail("standard output cannot be written" +
                          (errno == 0 ? std::string() : std::string(": ") + std::strerror(errno)));
  return exitCode == 0 ? failed : exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace torvik;
  GuardStandardStreams();
  KeepMemoryPrivate();
  if (argc > 1 && std::string_view(argv[1]) == kReadShareCommand)
    return ReadShare(MessageSocket(Descriptor(STDIN_FILENO)));
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
  admin::AddDoctorCommand(app, invocation);
  admin::AddRunCommand(app, invocation);
  admin::AddNightCommands(app, invocation);
  admin::AddHistoryCommands(app, invocation);
  admin::AddWatchCommand(app, invocation);
  admin::AddAlarmsCommand(app, invocation);
  admin::AddMigrateCommands(app, invocation);
  if (argc > 1 && std::string_view(argv[1]) == admin::kCompleteCommand)
    return admin::Complete(app, {argv + 2, argv + argc});
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return WrongUse(app, error);
  }
  try {
    LinuxPlatform platform = NewLinuxPlatform([] {});
    return FinishOutput(invocation.command(platform));
  } catch (const std::exception& error) {
    return Fail(WordsOf(error));
  }
}
