#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/RefusalFactory.h"

namespace torvik {

/// A table that takes the rows of one beside it.
struct MergePlan {
  ado::SqlKind server = ado::SqlKind::Other;
  std::string table, staging;  ///< As statements take them.
  std::string name;            ///< The table, for messages.
  std::vector<ado::Column> columns;
  std::vector<std::string> keys;
  bool deletesMissing = false;
};

/// Runs one statement; answers what it changed and its first row.
using RunStatement = std::function<ado::StatementResult(const std::string& sql)>;

/// What ado::Database::MergeRows does, by one statement each for the rows that go, change and come:
/// these need no unique index, and tell how many rows each has met.
ado::MergeCounts MergeRows(const MergePlan& plan, const RunStatement& run,
                           const RefusalFactory& refuse);

}  // namespace torvik
