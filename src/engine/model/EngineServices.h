#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/FetchProgress.h"

namespace torvik {

namespace ado {
class Provider;
}
class Clock;
class CodePages;
class EventLog;
class Files;
class Locks;
class Mailer;
class Processes;
class RegularExpressions;
namespace wininet {
class Client;
}

namespace engine {

/// What only so many steps of all runs on the machine may use at once.
struct StepLimits {
  Locks* locks = nullptr;
  std::string directory = {};              ///< In which places are taken; shared by all runs.
  std::map<std::string, int> atOnce = {};  ///< By small letters.
};

/// Everything outside the process that a package touches.
struct EngineServices {
  ado::Provider& databases;
  Files& files;
  CodePages& codePages;
  Clock& clock;
  Processes& processes;
  EventLog& eventLog;
  Mailer& mail;
  /// In which scripts may use files; the text files among them are in the ANSI code page.
  std::vector<std::string> scriptDirectories = {};
  StepLimits limits = {};
  std::string jobRunner = {};  ///< The program that runs jobs, as torvik-admin takes its words.
  std::string computer = {}, user = {};       ///< Where packages run, and as whom; for logs.
  RegularExpressions* expressions = nullptr;  ///< Null: scripts have none.
  bool scriptsMayStartPrograms = false;
  /// Makes an FTP client for one step, which fetches files byte by byte; `onWait` is called about
  /// ten times a second while a server is waited for, and what it throws ends the call; `onFetch`
  /// while files come.
  std::function<std::shared_ptr<wininet::Client>(std::function<void()> onWait,
                                                 FetchObserver onFetch)>
      newFtpClient = {};
};

}  // namespace engine
}  // namespace torvik
