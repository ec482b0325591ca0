#include "engine/tasks/PumpEnds.h"

#include <algorithm>

#include "engine/model/Connections.h"
#include "engine/model/EngineServices.h"
#include "engine/model/Providers.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "engine/tasks/FlatFile.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

TextFormat FormatFor(TaskContext& context, const ConnectionSettings& settings) {
  TextFormat format = FlatFileFormat(settings);
  format.cancelled = &context.Cancelled();
  return format;
}

}  // namespace

PumpSource::PumpSource(TaskReader& reader) {
  const ConnectionModel* source = reader.AnyConnection("source");
  const auto query = reader.Template("source_sql");
  const auto table = reader.Template("source_table");
  if (query) {
    sql_ = query->text;
  } else if (table) {
    sql_ = "SELECT * FROM " + table->text;
  }
  if (source == nullptr) return;
  connection_ = source->name;
  isTextFile_ = IsTextFileProvider(source->provider);
  CheckKeys(reader, query, table);
}

void PumpSource::CheckKeys(TaskReader& reader, const std::optional<PlacedText>& query,
                           const std::optional<PlacedText>& table) const {
  if (isTextFile_ && (query || table))
    reader.Problem((query ? query : table)->place,
                   "the source " + Quoted(connection_) +
                       " is a text file; remove \"source_sql\" and \"source_table\"");
  if (!isTextFile_ && query.has_value() == table.has_value())
    reader.Problem(reader.Table().Place(),
                   "the source " + Quoted(connection_) +
                       " is a database; give one of \"source_sql\" and \"source_table\"");
}

std::pair<std::string, TextFormat> PumpSource::File(TaskContext& context) const {
  const ConnectionSettings settings = context.Settings(connection_);
  return {*settings.Find("Data Source"), FormatFor(context, settings)};
}

OpenedSource PumpSource::Open(TaskContext& context,
                              std::span<ado::Connection* const> others) const {
  if (isTextFile_) {
    const auto [path, format] = File(context);
    const EngineServices& services = context.Services();
    return {OpenTextSource(services.files, services.codePages, path, format)};
  }
  ado::Connection& connection = context.ReadDatabase(connection_);
  const bool alongside = std::ranges::find(others, &connection) != others.end();
  return {OpenQuerySource(connection, context.GlobalVariables().Substitute(sql_), alongside),
          alongside};
}

namespace {

/// A table of a database, or a text file.
class TableOrFile final : public PumpDestination {
 public:
  explicit TableOrFile(TaskReader& reader) {
    const ConnectionModel* destination = reader.AnyConnection("destination");
    if (destination != nullptr) {
      connection_ = destination->name;
      isTextFile_ = IsTextFileProvider(destination->provider);
      isReadOnly_ = IsReadOnlyProvider(destination->provider);
    }
    if (!isTextFile_) {
      table_ = reader.RequiredTemplate("table");
    } else if (const auto table = reader.Template("table")) {
      reader.Problem(table->place, "the destination " + Quoted(connection_) +
                                       " is a text file; remove \"table\"");
    }
  }

  bool IsDatabase() const override { return !isTextFile_; }
  const std::string& Connection() const override { return connection_; }
  std::string Describe() const override {
    return connection_ + (table_.text.empty() ? "" : ", table " + table_.text);
  }
  std::string Table(const Variables& variables) const override {
    return variables.Substitute(table_.text);
  }
  std::string WhyNot() const override {
    return isReadOnly_ ? "the destination " + Quoted(connection_) +
                             " is an Access, Excel or dBase file, which can be read and not written"
                       : "";
  }

  ado::Connection* Open(TaskContext& context) const override {
    return isTextFile_ ? nullptr : &context.Database(connection_);
  }

  PumpOutcome Pump(TaskContext& context, const PumpJob& job, RowSource& source,
                   ado::Connection* connection) const override {
    if (isTextFile_) {
      const ConnectionSettings settings = context.Settings(connection_);
      const EngineServices& services = context.Services();
      const auto target =
          NewTextTarget(services.files, services.codePages, *settings.Find("Data Source"),
                        FormatFor(context, settings));
      return PumpIntoTarget(context, job, source, *target);
    }
    return PumpIntoTable(context, job, source,
                         {*connection, Table(context.GlobalVariables()),
                          context.Settings(connection_).DatabaseInWords()});
  }

 private:
  std::string connection_;
  bool isTextFile_ = false, isReadOnly_ = false;
  PlacedText table_;
};

}  // namespace

std::unique_ptr<const PumpDestination> ReadPumpDestination(TaskReader& reader) {
  return std::make_unique<TableOrFile>(reader);
}

}  // namespace torvik::engine
