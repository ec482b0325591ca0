#include "platform/linux/LinuxPlatform.h"

#include <thread>

#include "platform/PlatformError.h"
#include "platform/linux/AdoServers.h"
#include "platform/linux/LinuxNeighbourhood.h"
#include "platform/linux/ftp/FtpCurl.h"
#include "platform/linux/history/SqliteRunHistory.h"
#include "platform/linux/mail/MailCurl.h"
#include "platform/linux/ping/PingCurl.h"
#include "platform/linux/regex/PcreExpressions.h"
#include "platform/linux/settings/ProfileFiles.h"
#include "platform/linux/settings/RegistryFile.h"
#include "platform/linux/settings/Secret.h"
#include "platform/linux/shares/ShellByPath.h"
#include "platform/linux/system/ConsoleMessages.h"
#include "platform/linux/system/NoPickers.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/system/PosixLocks.h"
#include "platform/linux/system/PosixProcesses.h"
#include "platform/linux/system/ProgramBeside.h"
#include "platform/linux/system/StdConsole.h"
#include "platform/linux/system/SyslogEventLog.h"
#include "platform/linux/system/SystemClock.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {

LinuxPlatform NewLinuxPlatform(std::function<void()> onClose, FetchObserver onFetch,
                               std::function<void()> onWait) {
  LinuxPlatform platform;
  if (const auto error = LoadSettings(ProcessEnvironment(), platform.settings); !error.empty()) {
    throw PlatformError(0, error, "settings");
  }
  const PathMap paths = platform.settings.Paths();
  platform.codePages = NewIconvCodePages(platform.settings.codePage);
  platform.files = NewPosixFiles(paths, *platform.codePages, platform.settings.temporaryDirectory);
  platform.locks = NewPosixLocks(paths);
  platform.messages = NewConsoleMessages(std::move(onClose));
  if (!onWait) onWait = [messages = platform.messages.get()] { messages->PumpEvents(); };
  const auto onWaitHere = [wait = std::move(onWait), here = std::this_thread::get_id()] {
    if (std::this_thread::get_id() == here) wait();
  };
  platform.shell =
      NewShellByPath(platform.settings, paths, *platform.codePages, ProgramBeside("torvik-admin"),
                     [onFetch, onWaitHere](const FetchProgress& progress) {
                       if (onFetch) onFetch(progress);
                       onWaitHere();
                     });
  platform.profile = NewProfileFiles(paths, *platform.codePages);
  platform.processes = NewPosixProcesses(paths, platform.settings.programs);
  platform.clock = NewSystemClock();
  platform.console = NewStdConsole(*platform.codePages);
  platform.eventLog = NewSyslogEventLog();
  platform.internet = NewFtpCurl(platform.settings.ftp, paths, platform.codePages->Ansi(),
                                 onWaitHere, std::move(onFetch));
  FtpSettings binary = platform.settings.ftp;
  binary.type = FtpSettings::Type::Binary;
  platform.newFtpClient = [binary, paths, codePages = platform.codePages.get()](
                              std::function<void()> wait, FetchObserver onOneFetch) {
    return NewFtpCurl(binary, paths, codePages->Ansi(), std::move(wait), std::move(onOneFetch));
  };
  platform.mail = NewMailCurl(platform.settings.mail, paths);
  platform.expressions = NewPcreExpressions();
  platform.pings = NewPingCurl(paths);
  platform.registry = NewRegistryFile(platform.settings.stateDirectory + "/registry");
  platform.history = NewSqliteRunHistory(HistoryFileIn(platform.settings.stateDirectory),
                                         platform.settings.history);
  platform.secrets = NewSecrets(paths);
  platform.neighbourhood = NewLinuxNeighbourhood(platform.settings, paths);
  platform.browser = NewNoShellBrowser();
  platform.dialogs = NewNoFileDialogs();
  platform.databases = NewAdoProvider(platform.settings);
  return platform;
}

std::string ReadText(Files& files, const std::string& path) {
  std::error_code error;
  const auto file = files.OpenRead(path, error);
  std::string text;
  char block[65536];
  for (std::size_t length = 1; !error && length > 0;) {
    length = file->Read(block, sizeof block, error);
    text.append(block, length);
  }
  if (error) throw PlatformError(error.value(), path + ": " + error.message(), "files");
  return text;
}

}  // namespace torvik
