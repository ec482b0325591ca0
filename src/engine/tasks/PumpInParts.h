#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/pump/TextFormat.h"
#include "engine/tasks/PumpSettings.h"

namespace torvik::engine {

/// A text file that several connections load at once.
struct PumpParts {
  int connections = 1;
  std::string file;
  TextFormat format;
  std::string destination;  ///< The name of the connection to the database.
  /// Makes the job's columns anew, since each connection has transformations of its own.
  std::function<std::vector<ColumnMapping>()> newColumns;
};

/// Loads the rows of `source`, of which nothing is read: each connection fills one table beside
/// with some of them, and when all are there these take their place in one transaction. Rejected
/// rows, counts and errors are those of one connection, but that rows are loaded in no order.
/// Answers nothing, after a line for the log, when one connection is to load them: the file is not
/// one that parts can be read of, or the table refuses rows of which only one connection can tell
/// which. Whatever it throws, the table is as it was, and there is none beside unless no connection
/// to the server is left.
std::optional<PumpOutcome> PumpInParts(TaskContext& context, const PumpJob& job,
                                       const PumpParts& parts, const RowSource& source,
                                       const PumpTable& table);

}  // namespace torvik::engine
