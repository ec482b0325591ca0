#pragma once

#include <string>
#include <vector>

namespace torvik {
class Processes;
}

namespace torvik::admin {

/// The service manager by its own programs.
class Systemd {
 public:
  explicit Systemd(Processes& processes) : processes_(processes) {}

  /// Whether this machine was started by it (sd_booted(3)).
  static bool IsRunning();
  /// Whether its programs are there.
  bool IsInstalled() const;

  /// When a calendar expression comes next, in the local time's words; none when it never comes
  /// again. Throws PlatformError in systemd-analyze's words when it is no expression.
  std::vector<std::string> NextTimes(const std::string& calendar, int count) const;

  /// systemctl with these arguments. Throws PlatformError in its words.
  void Control(const std::vector<std::string>& arguments) const;

 private:
  std::vector<std::string> Run(const char* program,
                               const std::vector<std::string>& arguments) const;

  Processes& processes_;
};

}  // namespace torvik::admin
