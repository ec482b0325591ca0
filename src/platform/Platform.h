#pragma once

namespace torvik {

namespace ado {
class Provider;
}
namespace dts {
class PackageHost;
}
class Clock;
class CodePage;
class Console;
class EventLog;
class Files;
class Messages;
class Processes;
class Profile;
class Shell;
namespace wininet {
class Client;
}

/// Everything outside the process that a run touches. Built in main.cpp, handed down, owned by no
/// one else.
struct Platform {
  ado::Provider& databases;
  dts::PackageHost& packages;
  const CodePage& ansi;  ///< The system's code page, that of job files and logs.
  Clock& clock;
  Console& console;
  Files& files;
  Messages& messages;
  Processes& processes;
  Profile& profile;
  Shell& shell;
  wininet::Client& internet;
};

}  // namespace torvik
