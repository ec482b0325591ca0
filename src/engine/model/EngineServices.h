#pragma once

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
class Mailer;
class Processes;

namespace engine {

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
  std::string computer = {}, user = {};  ///< Where packages run, and as whom; for logs.
};

}  // namespace engine
}  // namespace torvik
