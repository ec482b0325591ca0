#pragma once

#include <future>
#include <optional>
#include <string>
#include <vector>

#include "platform/Dts.h"

namespace torvik {

/// Loads the steps of a stored package on a thread of its own: its server may take long to answer.
class OutlineLoader {
 public:
  /// Which version of which package, where it is stored, and how to log on there.
  struct Wanted {
    std::string server;
    bool trusted = false;
    std::string user, password;
    std::string package, versionGuid;
  };
  struct Answer {
    std::string versionGuid;
    std::vector<dts::StepOutline> steps;
    std::string reason;  ///< Why they cannot be had; empty when they can.
  };

  /// The host must outlive this.
  explicit OutlineLoader(dts::PackageHost& packages) : packages_(packages) {}
  /// Waits for the server, if it is being asked.
  ~OutlineLoader() = default;

  /// Loads them; what is wanted while another answer is waited for replaces that one.
  void Begin(const Wanted& wanted);
  /// The answer to what was wanted last, once; empty until it is there.
  std::optional<Answer> Take();

 private:
  dts::PackageHost& packages_;
  std::optional<Wanted> next_;
  std::future<Answer> loading_;  // its end is waited for before the rest goes
};

}  // namespace torvik
