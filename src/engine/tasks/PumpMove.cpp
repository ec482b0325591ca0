#include "engine/tasks/PumpMove.h"

#include "engine/model/Variables.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

ado::MergeOptions MergeOptionsOf(const PumpSettings& settings, const Variables& variables,
                                 const std::vector<std::string>& columns) {
  ado::MergeOptions options{columns, {}, settings.deletesMissing};
  for (const PlacedText& key : settings.keys)
    options.keys.push_back(variables.Substitute(key.text));
  return options;
}

}  // namespace

std::optional<ado::MergeCounts> MoveStagedRows(TaskContext& context, const PumpSettings& settings,
                                               const PumpTable& table, const StagedRows& rows) {
  ado::Connection& destination = table.connection;
  if (settings.load == LoadMode::Merge)
    return destination.MergeRows(table.name, rows.table,
                                 MergeOptionsOf(settings, context.GlobalVariables(), rows.columns));
  if (settings.load == LoadMode::Truncate) destination.EmptyTable(table.name);
  const std::int64_t taken = settings.load == LoadMode::Replace
                                 ? destination.ReplaceRows(table.name, rows.table)
                                 : destination.AppendRows(table.name, rows.table, rows.columns);
  if (taken == rows.count) return std::nullopt;
  throw PlatformError(0,
                      std::to_string(rows.count) + " rows were loaded beside table " + table.name +
                          ", but it has taken " + std::to_string(taken) +
                          " of them; nothing of them may be kept",
                      "data pump");
}

}  // namespace torvik::engine
