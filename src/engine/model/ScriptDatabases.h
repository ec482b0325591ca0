#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

class PackageControl;

/// The databases that one script has opened.
class ScriptDatabases {
 public:
  explicit ScriptDatabases(PackageControl& package) : package_(package) {}

  /// Opens the package's connection of that name, or the one that leads where a connection string
  /// without a password says ("Data Source=SRV;Initial Catalog=dw"). Throws PlatformError for any
  /// other text.
  std::shared_ptr<ado::Connection> Open(const std::string& target);

  /// Ends the statements that run, and lets nothing more be opened; any thread may call it.
  void Cancel();

 private:
  std::string ConnectionFor(const std::string& target) const;

  PackageControl& package_;
  std::mutex mutex_;
  bool isCancelled_ = false;
  std::vector<std::weak_ptr<ado::Connection>> opened_;
};

}  // namespace torvik::engine
