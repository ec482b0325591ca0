#pragma once

#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "datalinks/DataWarehouse.h"
#include "datalinks/cDataSources.h"

namespace torvik {

/// Reads the data links of a package's model on a thread and a connection of its own: the data
/// warehouse may take long to answer, or be away.
class LinkLoader {
 public:
  /// Of which job, and where they are.
  struct Wanted {
    std::string jobFile, package;
    ServerLogon logon;
    std::string database;
    bool operator==(const Wanted&) const = default;
  };
  struct Answer {
    Wanted wanted;
    std::unique_ptr<cDataSources> links;  ///< As the table has them; null when they cannot be read.
  };

  /// The provider must outlive this.
  explicit LinkLoader(ado::Provider& databases) : databases_(databases) {}
  /// Waits for the server while it is being connected to, two seconds at most.
  ~LinkLoader();
  LinkLoader(const LinkLoader&) = delete;
  LinkLoader& operator=(const LinkLoader&) = delete;

  /// Reads them; what was wanted before is wanted no longer.
  void Begin(const Wanted& wanted);
  /// There is no answer to what was wanted.
  void Forget();
  /// The answer to what was wanted last, once; empty until it is there.
  std::optional<Answer> Take();

 private:
  void Start(const Wanted& wanted);
  std::unique_ptr<cDataSources> Read(const Wanted& wanted);
  /// Until EndReading the connection's statement is ended when this goes; false when it is going.
  bool BeginReading(ado::Connection& connection);
  void EndReading();

  ado::Provider& databases_;
  std::optional<Wanted> next_;
  bool isWanted_ = false;
  std::mutex mutex_;  // of the next two
  ado::Connection* reading_ = nullptr;
  bool isEnding_ = false;
  std::future<Answer> loading_;  // its end is waited for before the rest goes
};

}  // namespace torvik
