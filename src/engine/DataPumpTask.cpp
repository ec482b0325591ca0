#include "engine/EngineServices.h"
#include "engine/FlatFile.h"
#include "engine/OwnTransaction.h"
#include "engine/Providers.h"
#include "engine/TaskReader.h"
#include "engine/Tasks.h"
#include "engine/Variables.h"
#include "engine/pump/Pump.h"
#include "engine/pump/RowSource.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

class DataPumpTask final : public Task {
 public:
  explicit DataPumpTask(TaskReader& reader) {
    ReadSource(reader);
    destination_ = reader.Database("destination");
    table_ = reader.RequiredTemplate("table");
    columns_ = reader.TemplateTable("columns");
  }

  bool CanJoin() const override { return true; }

  std::optional<std::int64_t> Run(TaskContext& context) const override {
    // The destination first: a source in the same database then reads what the transaction wrote.
    ado::Connection& destination = context.Database(destination_);
    if (context.Joined()) return Pump(context, destination);
    OwnTransaction transaction(destination);
    const std::int64_t rows = Pump(context, destination);
    transaction.Commit();
    return rows;
  }

 private:
  void ReadSource(TaskReader& reader) {
    const ConnectionModel* source = reader.AnyConnection("source");
    const auto query = reader.Template("source_sql");
    const auto table = reader.Template("source_table");
    if (query) {
      sourceSql_ = query->text;
    } else if (table) {
      sourceSql_ = "SELECT * FROM " + table->text;
    }
    if (source == nullptr) return;
    source_ = source->name;
    const ProviderRule* provider = FindProvider(source->provider);
    fromFile_ = provider != nullptr && provider->isTextFile;
    if (fromFile_ && (query || table))
      reader.Problem((query ? query : table)->place,
                     "the source " + Quoted(source_) +
                         " is a text file; remove \"source_sql\" and \"source_table\"");
    if (!fromFile_ && query.has_value() == table.has_value())
      reader.Problem(reader.Table().Place(),
                     "the source " + Quoted(source_) +
                         " is a database; give one of \"source_sql\" and \"source_table\"");
  }

  std::int64_t Pump(TaskContext& context, ado::Connection& destination) const {
    const auto source = OpenSource(context);
    const Variables& variables = context.GlobalVariables();
    PumpRequest request{*source, destination, variables.Substitute(table_.text), {}};
    for (const auto& [from, to] : columns_)
      request.columns.push_back({from, variables.Substitute(to.text)});
    return RunPump(
               request, [&](std::int64_t rows) { context.Progress(rows); }, context.Cancelled())
        .loaded;
  }

  std::unique_ptr<RowSource> OpenSource(TaskContext& context) const {
    if (!fromFile_)
      return OpenQuerySource(context.ReadDatabase(source_),
                             context.GlobalVariables().Substitute(sourceSql_));
    const ConnectionSettings settings = context.Settings(source_);
    const EngineServices& services = context.Services();
    return OpenDelimitedText(services.files, services.codePages, *settings.Find("Data Source"),
                             FlatFileFormat(settings));
  }

  std::string source_;
  bool fromFile_ = false;
  std::string sourceSql_;
  std::string destination_;
  PlacedText table_;
  std::vector<std::pair<std::string, PlacedText>> columns_;  // source column, destination column
};

}  // namespace

std::unique_ptr<Task> ReadDataPumpTask(TaskReader& reader) {
  return std::make_unique<DataPumpTask>(reader);
}

}  // namespace torvik::engine
