#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "script/Value.h"

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

/// Whether NewAdoObject makes objects of this class; letter case does not matter.
bool IsAdoClass(std::string_view className);

/// ADODB.Connection and ADODB.Recordset, as far as scripts of packages use them; nothing for
/// another class.
std::optional<script::Value> NewAdoObject(std::string_view className,
                                          const std::shared_ptr<ScriptDatabases>& databases);

}  // namespace torvik::engine
