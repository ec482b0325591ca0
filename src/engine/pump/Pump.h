#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

class RowSource;

/// Which source column fills which destination column.
struct ColumnMapping {
  std::string source;
  std::string destination;
};

/// One data pump: every row of a source into one table.
struct PumpRequest {
  RowSource& source;
  ado::Connection& destination;
  std::string table;
  /// Empty: every source column into the destination column of the same name.
  std::vector<ColumnMapping> columns;
};

/// What a pump has done.
struct PumpCounts {
  std::int64_t read = 0;
  std::int64_t loaded = 0;
};

/// Loads all rows. Does not begin or end a transaction: the caller does, and rolls back when this
/// throws. Throws PlatformError at the first row that cannot be read, converted to its column's
/// type or stored, when a column of the mapping does not exist, when the server took another number
/// of rows than were read, and when `cancelled` becomes true. `progress` gets the rows so far, at
/// most every 100 ms, on the calling thread.
PumpCounts RunPump(const PumpRequest& request, const std::function<void(std::int64_t)>& progress,
                   const std::atomic<bool>& cancelled);

}  // namespace torvik::engine
