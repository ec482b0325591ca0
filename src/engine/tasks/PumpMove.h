#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/tasks/PumpSettings.h"

namespace torvik::engine {

/// Rows that wait in a table beside.
struct StagedRows {
  std::string table;
  std::int64_t count = 0;
  std::vector<std::string> columns;  ///< Those that they fill.
};

/// Gives the rows their place in `table`, as the settings say, and drops the table beside; belongs
/// into a transaction. Answers what a merge has done. Throws PlatformError when the table takes
/// another number of rows.
std::optional<ado::MergeCounts> MoveStagedRows(TaskContext& context, const PumpSettings& settings,
                                               const PumpTable& table, const StagedRows& rows);

}  // namespace torvik::engine
