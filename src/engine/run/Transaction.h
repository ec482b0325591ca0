#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/model/Connections.h"

namespace torvik {
struct PlatformError;
}

namespace torvik::engine {

class StepCancellation;

/// The package's transaction: it begins when a joined step first uses a database, takes in each
/// further database in the same way, and ends with Commit or Rollback, after which a new one may
/// begin. Two connections of a package which lead to one database share one transaction.
///
/// Only one is active at a time, and it belongs to one step at a time: steps that join it, commit
/// it or roll it back run one after the other, other steps meanwhile. Holds alone is for those.
class Transaction {
 public:
  explicit Transaction(ado::Provider& databases);
  ~Transaction();

  bool Active() const { return !members_.empty(); }

  /// True when this database is part of it. Any thread may ask.
  bool Holds(const ConnectionSettings& settings);

  /// The transaction's connection to this database, for a joined step. `name` is the connection's;
  /// `control`, the step's, holds it afterwards.
  ado::Connection& Join(const std::string& name, const ConnectionSettings& settings,
                        StepCancellation& control);

  /// Every attempt of a joined step begins with one call, and ends with one of the two others.
  void BeginStep();
  void KeepStep();
  /// Undoes what the step did; what earlier steps did stays. When a database cannot go back to that
  /// point the whole transaction is rolled back, and the answer says why.
  struct Loss {
    std::string reason;
    bool earlierSteps;  ///< The work of other steps is gone as well.
  };
  std::optional<Loss> UndoStep();

  /// Commits every database, in the order in which they joined. Throws when one refuses, after
  /// rolling back those that are left.
  void Commit();

  /// Never throws: what cannot be rolled back any more is gone with its connection.
  void Rollback();

 private:
  struct Member {
    std::string name;
    ConnectionSettings settings;
    std::unique_ptr<ado::Connection> connection;
    bool usedInStep = false;
  };

  Member* FindMember(const ConnectionSettings& settings);
  Member& Begin(const std::string& name, const ConnectionSettings& settings,
                StepCancellation& control);
  void MarkPoint(Member& member);
  void Clear();

  ado::Provider& databases_;
  std::mutex mutex_;  // of the list, for Holds; the step that owns it reads it without
  std::vector<Member> members_;
  bool hasEarlierSteps_ = false;
  std::string cannotUndo_;  // the step that runs, and why
};

}  // namespace torvik::engine
