#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/Connections.h"

namespace torvik::engine {

/// The package's transaction: it begins when a joined step first uses a database, takes in each
/// further database in the same way, and ends with Commit or Rollback, after which a new one may
/// begin. Two connections of a package which lead to one database share one transaction.
class Transaction {
 public:
  explicit Transaction(ado::Provider& databases);
  ~Transaction();

  bool Active() const { return !members_.empty(); }

  /// The transaction's connection to this database, or null when it is not part of it.
  ado::Connection* Find(const ConnectionSettings& settings);

  /// The same for a joined step that is going to write. `name` is the connection's.
  ado::Connection& Join(const std::string& name, const ConnectionSettings& settings);

  /// Every joined step begins with this call.
  void BeginStep();

  /// Undoes what the joined step did that has failed for `reason`; what earlier steps did stays.
  /// When a database cannot go back to that point, the whole transaction is rolled back, and the
  /// call throws.
  void UndoStep(const std::string& reason);

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
  Member& Begin(const std::string& name, const ConnectionSettings& settings);

  ado::Provider& databases_;
  std::vector<Member> members_;
};

}  // namespace torvik::engine
