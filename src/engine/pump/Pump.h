#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/pump/RowScript.h"

namespace torvik::engine {

class RejectedRows;
class RowSource;
class RowTarget;
class Transformation;
class Watermark;

/// What fills one destination column.
struct ColumnMapping {
  std::string source;       ///< Empty: no source column; the value begins as NULL.
  std::string destination;  ///< Empty: the chain works for what it does beside.
  unsigned flags = 0;       ///< TransformFlags.
  std::vector<std::shared_ptr<Transformation>> chain = {};  ///< In the order of their work.
};

/// One data pump: the rows of a source into one destination.
struct PumpRequest {
  RowSource& source;
  RowTarget& target;
  /// Empty, and no scripts: every source column into the destination column of the same name.
  std::vector<ColumnMapping> columns = {};
  /// They run in their order, each for every row, before the mappings.
  std::vector<ScriptMapping> scripts = {};
  unsigned flags = 0;  ///< TransformFlags of columns that no mapping names.
  /// Numbers of the first and last row that are pumped, from 1; 0: all.
  std::int64_t firstRow = 0, lastRow = 0;
  /// Rows that may be rejected before the pump fails.
  std::int64_t maximumErrorCount = 0;
  /// Rows after which `commit` is called, if it is set; 0: never.
  std::int64_t commitSize = 0;
  std::function<void()> commit = {};
  /// Called with the number of rows and the columns that they fill when all are loaded, if it is
  /// set; what it throws fails the pump.
  std::function<void(std::int64_t, const std::vector<std::string>& columns)> settle = {};
  /// Null: every row is loaded. A row without a value in its column is rejected.
  Watermark* watermark = nullptr;
  RejectedRows* exceptions = nullptr;  ///< Null: rejected rows are only counted.
  /// Each row has a last value more: which query it is for, by the scripts' answers ("insert" when
  /// they do not say).
  bool choosesQueries = false;
  /// Reading, mapping and loading share something that one thread at a time may use.
  bool onOneThread = false;
};

/// What a pump has done.
struct PumpCounts {
  /// Rows that could not be parsed are among them, and each row that a script makes of one.
  std::int64_t read = 0;
  std::int64_t loaded = 0;
  std::int64_t rejected = 0;
  std::int64_t skipped = 0;  ///< Left out by a script, or not beyond the watermark.
};

struct RowError;

/// Throws the error of a pump of which more rows are rejected than may be: `last` is the row that
/// was one too many.
[[noreturn]] void ThrowTooManyRejected(const RowError& last, std::int64_t rejected,
                                       std::int64_t allowed);

/// Loads all rows. Does not begin or end a transaction but by `commit`: the caller does, and rolls
/// back when this throws. A row that cannot be parsed, converted to its column's type or stored is
/// rejected. Throws PlatformError when more rows are rejected than the request allows (the text is
/// the last one's error), when a column of the mapping does not exist, when the server took another
/// number of rows than it was given, and when `cancelled` becomes true. `progress` gets the rows so
/// far, at most every 100 ms, on the calling thread.
PumpCounts RunPump(const PumpRequest& request, const std::function<void(std::int64_t)>& progress,
                   const std::atomic<bool>& cancelled);

}  // namespace torvik::engine
