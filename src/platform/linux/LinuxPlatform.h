#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/CodePage.h"
#include "platform/Console.h"
#include "platform/EventLog.h"
#include "platform/FetchProgress.h"
#include "platform/FileDialogs.h"
#include "platform/Files.h"
#include "platform/Locks.h"
#include "platform/Mail.h"
#include "platform/Messages.h"
#include "platform/Neighbourhood.h"
#include "platform/Ping.h"
#include "platform/Process.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "platform/RegularExpressions.h"
#include "platform/RunHistory.h"
#include "platform/Secrets.h"
#include "platform/Shell.h"
#include "platform/ShellBrowser.h"
#include "platform/WinInet.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Every platform interface as it is on Linux, by the settings of torvik.conf.
struct LinuxPlatform {
  Settings settings;
  std::unique_ptr<CodePages> codePages;
  std::unique_ptr<Files> files;
  std::unique_ptr<Locks> locks;
  std::unique_ptr<Profile> profile;
  std::unique_ptr<Processes> processes;
  std::unique_ptr<Clock> clock;
  std::unique_ptr<Console> console;
  std::unique_ptr<EventLog> eventLog;
  std::unique_ptr<Messages> messages;
  std::unique_ptr<ado::Provider> databases;
  std::unique_ptr<Shell> shell;
  std::unique_ptr<wininet::Client> internet;
  /// Clients of steps, which take files byte by byte whatever the settings say.
  std::function<std::shared_ptr<wininet::Client>(std::function<void()> onWait,
                                                 FetchObserver onFetch)>
      newFtpClient;
  std::unique_ptr<Mailer> mail;
  std::unique_ptr<Pinger> pings;
  std::unique_ptr<RegularExpressions> expressions;
  std::unique_ptr<Registry> registry;
  std::unique_ptr<RunHistory> history;
  std::unique_ptr<Secrets> secrets;
  std::unique_ptr<Neighbourhood> neighbourhood;
  std::unique_ptr<ShellBrowser> browser;
  std::unique_ptr<FileDialogs> dialogs;
};

/// Reads the settings and builds everything by them. `onClose` is called, while events are pumped,
/// for each signal that acts as the Close button; `onFetch` while remote data is fetched; `onWait`
/// about ten times a second while an FTP server is waited for or a share's files are copied, on the
/// thread that calls this alone: it handles events, those of `messages` without it, and may throw
/// FetchStopped. Throws PlatformError when the settings are wrong.
LinuxPlatform NewLinuxPlatform(std::function<void()> onClose, FetchObserver onFetch = {},
                               std::function<void()> onWait = {});

/// The text of a file, for programs that read their input whole; throws PlatformError.
std::string ReadText(Files& files, const std::string& path);

}  // namespace torvik
