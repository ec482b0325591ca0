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
class FileDialogs;
class Files;
class Locks;
class Messages;
class Processes;
class Profile;
class Registry;
class RunHistory;
class Secrets;
class Shell;
class ShellBrowser;
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
  Locks& locks;
  Messages& messages;
  Processes& processes;
  Profile& profile;
  Shell& shell;
  wininet::Client& internet;
  Registry& registry;
  RunHistory& history;
  Secrets& secrets;
  ShellBrowser& browser;
  FileDialogs& dialogs;
};

}  // namespace torvik
