#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/model/Task.h"
#include "engine/model/TomlTable.h"
#include "engine/pump/Pump.h"
#include "platform/Ado.h"

namespace torvik::engine {

class ExceptionFile;
class TaskReader;
class LoadWatermark;
struct PumpParts;
struct RowQueries;

/// What becomes of the rows that the destination has.
enum class LoadMode {
  Append,    ///< They stay.
  Truncate,  ///< They are deleted before the first row is loaded.
  Replace,   ///< The new rows fill a table beside, and take their place in one transaction.
  Merge,     ///< The new rows fill a table beside; those of a known key change its row.
};

/// The settings that the tasks which pump rows share.
struct PumpSettings {
  LoadMode load = LoadMode::Append;
  std::vector<PlacedText> keys;  ///< Of a merge: the columns that tell rows apart.
  bool deletesMissing = false;   ///< Of a merge.
  std::int64_t firstRow = 0, lastRow = 0;
  std::int64_t insertCommitSize = 0;
  std::int64_t maximumErrorCount = 0;
  std::optional<PlacedText> exceptionFile;
  bool exceptionFileOverwrite = false;
  unsigned flags = 0;  ///< TransformFlags.
  ado::LoadOptions options;
};

/// Reads the keys of these names. `toTable`: the destination is a table, not a file.
PumpSettings ReadPumpSettings(TaskReader& reader, bool toTable);

/// The TransformFlags of a list of words ("string_truncation"), or of their number.
unsigned ReadTransformFlags(TaskReader& reader);

/// One pump of a task: its settings and where its rows go. Everything must outlive the run.
struct PumpJob {
  const PumpSettings& settings;
  std::vector<ColumnMapping> columns = {};
  std::vector<ScriptMapping> scripts = {};
  bool onOneThread = false;
  bool choosesQueries = false;
  LoadWatermark* watermark = nullptr;  ///< Null: every row is loaded.
  const PumpParts* parts = nullptr;    ///< Null: one connection loads the rows.
};

/// A table of an open database.
struct PumpTable {
  ado::Connection& connection;
  std::string name;           ///< Of queries: empty when no table tells the columns' types.
  std::string database = {};  ///< In words.
};

struct PumpOutcome : PumpCounts {
  std::optional<ado::MergeCounts> merged = {};  ///< Of a merge.
};

/// Pumps into a table as the settings say, in the package's transaction or in one of its own.
PumpOutcome PumpIntoTable(TaskContext& context, const PumpJob& job, RowSource& source,
                          const PumpTable& table);

/// Runs the queries that rows choose, in the same way.
PumpOutcome PumpIntoQueries(TaskContext& context, const PumpJob& job, RowSource& source,
                            const PumpTable& table, RowQueries& queries);

/// Where the step's rejected rows are kept; nothing when there is no place for them. Throws
/// PlatformError when one is needed, or what earlier runs left cannot be removed.
std::optional<ExceptionFile> NewExceptionFile(TaskContext& context, const PumpSettings& settings);

/// Throws when a transaction is open on a connection that is to have one of the pump's own.
void RequireNoTransaction(ado::Connection& connection);

/// What the step's log line says of a pump.
TaskResult ResultOf(const PumpOutcome& outcome);

/// Pumps into anything else.
PumpOutcome PumpIntoTarget(TaskContext& context, const PumpJob& job, RowSource& source,
                           RowTarget& target);

}  // namespace torvik::engine
