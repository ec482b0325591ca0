#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/pump/RowTarget.h"

namespace torvik::engine {

/// One of the queries that rows choose from.
struct RowQuery {
  std::string choice;  ///< "insert", "update", "delete" or "user".
  std::string sql;
  std::vector<std::string> parameters;  ///< The columns that its `?` stand for, in their order.
  std::int64_t runs = 0, changedRows = 0;
};

/// Each of another choice.
struct RowQueries {
  std::vector<RowQuery> queries;
};

/// Runs for each row the query that the pump's scripts have chosen for it, the last value of the
/// row (PumpRequest::choosesQueries). `table`, when there is one, says of which types the columns
/// are. A row whose query fails is refused; it leaves nothing when a refusal is tolerated, for
/// which the connection must have a transaction. Both must outlive the target; the counts in
/// `queries` go on.
std::unique_ptr<RowTarget> NewQueryTarget(ado::Connection& connection, std::string table,
                                          RowQueries& queries);

}  // namespace torvik::engine
