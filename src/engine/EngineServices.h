#pragma once

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
};

}  // namespace engine
}  // namespace torvik
