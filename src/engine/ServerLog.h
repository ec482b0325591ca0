#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "engine/PackageStore.h"
#include "engine/run/PackageExecution.h"
#include "platform/Ado.h"

namespace torvik::engine {

/// Where a package was loaded from.
struct PackageOrigin {
  StoreLogon logon;
  std::string id, versionId;
};

/// The log of one package's run on a server: a row in its table msdb.dbo.sysdtspackagelog and one
/// in sysdtssteplog for each step that runs, written when it starts and again when it ends. Does
/// nothing for a package that does not want it.
class ServerLog {
 public:
  /// `onTrouble` is told once when the log cannot be written, unless the package is to fail then:
  /// whatever is called throws PlatformError instead, once.
  ServerLog(const ExecutionRequest& request, const PackageOrigin& origin,
            std::function<void(const std::string&)> onTrouble);

  void Begin();
  void Handle(const ExecutionEvent& event);
  /// `failure` is why the package failed, null when it did not.
  void End(const PlatformError* failure);

 private:
  template <class Action>
  void Attempt(const Action& action);
  void Execute(const std::string& sql, std::initializer_list<ado::Value> values);
  StoreLogon Logon() const;
  void WritePackage();
  void WriteStep(const std::string& step);
  void WriteStepEnd(const ExecutionEvent& event);
  void WritePackageEnd(const PlatformError* failure);
  ado::Value Now() const;
  double SecondsSinceBegin() const;

  const ExecutionRequest& request_;
  const PackageModel& package_;
  const PackageOrigin& origin_;
  const std::function<void(const std::string&)> onTrouble_;
  const std::string lineage_;
  bool isOn_, isSqlServer_ = false;
  std::chrono::steady_clock::time_point begin_;
  std::unique_ptr<ado::Connection> connection_;
};

}  // namespace torvik::engine
