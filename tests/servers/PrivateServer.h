#pragma once

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "fakes/TemporaryDirectory.h"

namespace torvik {

/// What a shell command writes; throws when it fails.
inline std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string text;
  for (int c; (c = std::fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  if (pclose(pipe) != 0) throw std::runtime_error(command + " failed");
  return text;
}

/// A server of the test's own on a loopback port, by scripts/private-ftp or scripts/private-share.
class PrivateServer {
 public:
  /// `configuration` holds further lines for the server's own; %DIR% in it is PathOf("").
  explicit PrivateServer(const std::string& script, const std::string& configuration = "")
      : script_(std::string(TORVIK_SOURCE_DIR) + "/scripts/" + script) {
    disk_.Write("more.conf", configuration);
    Start();
  }
  ~PrivateServer() { Stop(); }
  PrivateServer(const PrivateServer&) = delete;
  PrivateServer& operator=(const PrivateServer&) = delete;

  /// Ends the server and all its connections; Start starts it again at the same port.
  void Stop() {
    if (isRunning_) OutputOf(script_ + " stop " + disk_.Path());
    isRunning_ = false;
  }
  void Start() {
    const std::string more = " " + disk_.PathOf("more.conf");
    port_ = std::stoi(OutputOf(script_ + " start " + disk_.Path() + more));
    isRunning_ = true;
  }

  std::uint16_t Port() const { return static_cast<std::uint16_t>(port_); }
  std::string Password() const { return disk_.Read("password"); }

  /// Files that the server serves.
  std::string PathOf(const std::string& name) const { return disk_.PathOf("files/" + name); }
  void Write(const std::string& name, const std::string& text) const {
    disk_.Write("files/" + name, text);
  }
  std::string Read(const std::string& name) const { return disk_.Read("files/" + name); }

 private:
  TemporaryDirectory disk_;
  const std::string script_;
  int port_ = 0;
  bool isRunning_ = false;
};

}  // namespace torvik
