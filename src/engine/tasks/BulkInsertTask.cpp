#include <algorithm>

#include "engine/model/Connections.h"
#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/RowSource.h"
#include "engine/tasks/FlatFile.h"
#include "engine/tasks/PumpSettings.h"
#include "engine/tasks/Tasks.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Loads a text file into a table column by column, without a connection for the file. The
/// terminators are those that the server's own statement has by default.
class BulkInsertTask final : public Task {
 public:
  explicit BulkInsertTask(TaskReader& reader)
      : connection_(reader.Database("connection")),
        table_(reader.RequiredTemplate("table")),
        file_(reader.RequiredTemplate("file")),
        columns_(reader.Templates("columns")),
        settings_(ReadPumpSettings(reader, true)) {
    const auto property = [&](const char* key, const char* name, const char* fallback) {
      const auto text = reader.Template(key);
      properties_.emplace_back(name, text ? text->text : fallback);
    };
    property("field_terminator", "Column Delimiter", "\t");
    property("row_terminator", "Row Delimiter", "");
    property("text_qualifier", "Text Qualifier", "");
    property("encoding", "Encoding", "utf-8");
  }

  bool CanJoin() const override { return true; }

  TaskResult Run(TaskContext& context) const override {
    ado::Connection& destination = context.Database(connection_);
    const Variables& variables = context.GlobalVariables();
    const std::string table = variables.Substitute(table_.text);
    ConnectionSettings format{"DTSFlatFile", {}};
    for (const auto& [name, value] : properties_)
      format.properties.emplace_back(name, variables.Substitute(value));
    TextFormat layout = FlatFileFormat(format);
    layout.cancelled = &context.Cancelled();
    const EngineServices& services = context.Services();
    const auto source = OpenTextSource(services.files, services.codePages,
                                       variables.Substitute(file_.text), layout);
    const PumpJob job{settings_, Columns(variables, destination, table, source->Columns())};
    return ResultOf(
        PumpIntoTable(context, job, *source,
                      {destination, table, context.Settings(connection_).DatabaseInWords()}));
  }

 private:
  /// The file's columns go into the named ones, else into the table's, in their order.
  std::vector<ColumnMapping> Columns(const Variables& variables, ado::Connection& destination,
                                     const std::string& table,
                                     const std::vector<std::string>& fileColumns) const {
    std::vector<std::string> names;
    for (const PlacedText& column : columns_) names.push_back(variables.Substitute(column.text));
    if (names.empty())
      for (const ado::Column& column : destination.TableColumns(table))
        names.push_back(column.name);
    if (names.size() != fileColumns.size() && !fileColumns.empty() && !names.empty())
      throw PlatformError(0,
                          "the file has " + std::to_string(fileColumns.size()) +
                              " columns and the table is to take " + std::to_string(names.size()) +
                              "; list its columns in \"columns\", or correct \"field_terminator\"",
                          "bulk insert");
    std::vector<ColumnMapping> columns;
    for (std::size_t i = 0; i < std::min(names.size(), fileColumns.size()); ++i)
      columns.push_back({fileColumns[i], names[i], settings_.flags});
    return columns;
  }

  std::string connection_;
  PlacedText table_, file_;
  std::vector<PlacedText> columns_;
  PumpSettings settings_;
  std::vector<std::pair<std::string, std::string>> properties_;
};

}  // namespace

std::unique_ptr<Task> ReadBulkInsertTask(TaskReader& reader) {
  return std::make_unique<BulkInsertTask>(reader);
}

}  // namespace torvik::engine
