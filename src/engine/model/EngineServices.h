#pragma once

#include <map>
#include <string>
#include <vector>

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
};

}  // namespace engine
}  // namespace torvik
