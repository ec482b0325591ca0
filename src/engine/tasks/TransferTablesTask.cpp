#include <algorithm>

#include "engine/model/Connections.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/RowSource.h"
#include "engine/tasks/PumpSettings.h"
#include "engine/tasks/Tasks.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Copies whole tables from one server to another.
class TransferTablesTask final : public Task {
 public:
  explicit TransferTablesTask(TaskReader& reader)
      : source_(reader.Database("source")),
        destination_(reader.Database("destination")),
        tables_(reader.Templates("tables")),
        create_(reader.Table().Boolean("create", true)),
        settings_(ReadPumpSettings(reader, true)) {
    settings_.options.givesIdentity = settings_.options.keepsNulls = true;  // rows stay as they are
    if (settings_.load == LoadMode::Merge)
      reader.Problem(reader.Table().Find("load")->place,
                     "tables that are transferred have no common keys; merge each by a DataPump");
    if (tables_.empty())
      reader.Problem(reader.Table().Place(),
                     "the task has no \"tables\"; list the tables to be transferred");
  }

  bool CanJoin() const override { return true; }

  TaskResult Run(TaskContext& context) const override {
    ado::Connection& destination = context.Database(destination_);
    ado::Connection& source = context.ReadDatabase(source_);
    if (&source == &destination)
      throw PlatformError(0, "source and destination are one database; tables keep their names",
                          "transfer of tables");
    PumpOutcome all;
    for (const PlacedText& table : tables_) {
      const PumpCounts counts =
          Transfer(context, source, destination, context.GlobalVariables().Substitute(table.text));
      all.loaded += counts.loaded;
      all.rejected += counts.rejected;
    }
    return ResultOf(all);
  }

 private:
  PumpCounts Transfer(TaskContext& context, ado::Connection& source, ado::Connection& destination,
                      const std::string& table) const {
    const std::vector<ado::Column> columns = source.TableColumns(table);
    if (columns.empty())
      throw PlatformError(0, "the source has no table " + table, "transfer of tables");
    if (destination.TableColumns(table).empty()) {
      if (!create_)
        throw PlatformError(0, "the destination has no table " + table + "; create is false",
                            "transfer of tables");
      for (const std::string& loss : destination.CreateTable(table, columns))
        context.Output("table " + table + " is made; " + loss);
    }
    const auto rows = OpenQuerySource(source, "SELECT * FROM " + table, false);
    const PumpJob job{settings_, TakenColumns(*rows, destination.TableColumns(table))};
    return PumpIntoTable(context, job, *rows,
                         {destination, table, context.Settings(destination_).DatabaseInWords()});
  }

  /// All but those whose values the destination makes by itself.
  std::vector<ColumnMapping> TakenColumns(const RowSource& rows,
                                          const std::vector<ado::Column>& columns) const {
    std::vector<ColumnMapping> taken;
    for (const std::string& name : rows.Columns())
      if (std::ranges::none_of(columns, [&](const ado::Column& column) {
            return column.isComputed && EqualsIgnoringCase(column.name, name);
          }))
        taken.push_back({name, name, settings_.flags});
    return taken;
  }

  std::string source_, destination_;
  std::vector<PlacedText> tables_;
  bool create_;
  PumpSettings settings_;
};

}  // namespace

std::unique_ptr<Task> ReadTransferTablesTask(TaskReader& reader) {
  return std::make_unique<TransferTablesTask>(reader);
}

}  // namespace torvik::engine
