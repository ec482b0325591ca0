#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "engine/run/PackageExecution.h"

namespace torvik::engine {

/// "0.004 seconds".
std::string SecondsText(double seconds);

/// The log of one package's run: NAME.log in the directory of the global variable
/// "ExceptionFilePath", one line for each event. Without that directory nothing is written.
class PackageLog {
 public:
  /// `onTrouble` is told once, with path and reason, when the log cannot be written.
  PackageLog(const EngineServices& services, const std::string& packageName,
             const Variables& variables, std::function<void(const std::string&)> onTrouble);

  void Handle(const ExecutionEvent& event);

 private:
  std::string LineOf(const ExecutionEvent& event) const;
  void Append(std::string_view line);

  const EngineServices& services_;
  std::string packageName_;
  std::string path_;  // empty: no log
  std::function<void(const std::string&)> onTrouble_;
};

}  // namespace torvik::engine
