#include <algorithm>

#include "engine/model/Connections.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/RowSource.h"
#include "engine/tasks/LoadConnections.h"
#include "engine/tasks/LoadWatermark.h"
#include "engine/tasks/PumpEnds.h"
#include "engine/tasks/PumpInParts.h"
#include "engine/tasks/PumpScripts.h"
#include "engine/tasks/PumpSettings.h"
#include "engine/tasks/Tasks.h"
#include "engine/tasks/TransformationReader.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Pumps the rows of a source into whatever takes them.
class PumpTask final : public Task {
 public:
  PumpTask(TaskReader& reader, std::unique_ptr<const PumpDestination> destination)
      : source_(reader),
        destination_(std::move(destination)),
        settings_(ReadPumpSettings(reader, IsTable())),
        watermark_(ReadWatermark(reader, settings_, IsTable())) {
    namesColumns_ = reader.Table().Find("columns") != nullptr;
    columns_ = reader.TemplateTable("columns");
    transformations_ = ReadTransformations(reader);
    lookups_ = ReadLookups(reader);
    loadConnections_ = ReadLoadConnections(
        reader, {source_, *destination_, settings_, transformations_, lookups_});
  }

  bool CanJoin() const override { return destination_->IsDatabase() && loadConnections_ == 1; }
  std::string WhyNotJoin() const override {
    if (loadConnections_ == 1) return {};
    return "\"load_connections\" commits its rows on connections of its own, which cannot join a "
           "transaction; remove one of \"join_transaction\" and \"load_connections\"";
  }

  std::string Describe() const override {
    std::string text = source_.Describe() + "\n→ " + destination_->Describe();
    for (const auto& [from, to] : columns_) text += "\n" + from + " → " + to.text;
    return text;
  }
  std::optional<PlacedText> HeldVariable() const override {
    return watermark_ ? std::optional(watermark_->variable) : std::nullopt;
  }

  std::string WhyNot() const override {
    const std::string reason = destination_->WhyNot();
    return reason.empty() ? transformations_.WhyNot() : reason;
  }

  std::string NeedsPostgreSql() const override {
    return loadConnections_ > 1 ? destination_->Connection() : "";
  }

  TaskResult Run(TaskContext& context) const override {
    for (const ScriptPlan& script : transformations_.scripts)
      if (script.phase != "row") throw PlatformError(0, transformations_.WhyNot(), "data pump");
    // The destination first: a source in the same database then reads what the transaction wrote.
    ado::Connection* destination = destination_->Open(context);
    std::optional<LoadWatermark> watermark;
    if (watermark_)
      watermark.emplace(context, *watermark_, *destination,
                        destination_->Table(context.GlobalVariables()));
    std::vector<ado::Connection*> others = {destination};
    for (const TransformationPlan& plan : transformations_.columns)
      if (!plan.connection.empty()) others.push_back(&context.ReadDatabase(plan.connection));
    for (const LookupPlan& plan : lookups_)
      others.push_back(&context.ReadDatabase(plan.connection));
    const OpenedSource source = source_.Open(context, others);
    if (MayEmptyWhatItReads(context))
      if (ado::BulkRead* const query = source.rows->Query()) query->Start();
    // What reads lookups may share neither the source's nor the destination's connection between
    // two threads; nor may queries of rows.
    const bool lookupsShare =
        std::find(others.begin() + 1, others.end(), destination) != others.end() ||
        source.alongside;
    const TransformationScope scope{context, source.rows->Columns(), destination_->HasQueries()};
    PumpJob job{settings_, Columns(scope),
                NewScriptMappings(transformations_.scripts, lookups_, settings_.flags, scope),
                lookupsShare, destination_->HasQueries()};
    if (watermark) job.watermark = &*watermark;
    std::optional<PumpParts> parts;
    if (loadConnections_ > 1) {
      auto [file, format] = source_.File(context);
      parts = {loadConnections_, std::move(file), std::move(format), destination_->Connection(),
               [&] { return Columns(scope); }};
      job.parts = &*parts;
    }
    TaskResult result = ResultOf(destination_->Pump(context, job, *source.rows, destination));
    if (watermark) result.details = WithMark(std::move(result.details), *watermark);
    return result;
  }

 private:
  static std::string WithMark(std::string details, LoadWatermark& watermark) {
    if (const auto mark = watermark.Rows().Highest())
      details += (details.empty() ? "up to " : ", up to ") + *mark;
    return details;
  }

  bool IsTable() const { return destination_->IsDatabase() && !destination_->HasQueries(); }

  bool MayEmptyWhatItReads(TaskContext& context) const {
    if (settings_.load != LoadMode::Truncate) return false;
    const ConnectionSettings from = context.Settings(source_.Connection()),
                             to = context.Settings(destination_->Connection());
    const std::string *const here = from.Find("Data Source"), *const there = to.Find("Data Source");
    return here != nullptr && there != nullptr && EqualsIgnoringCase(*here, *there);
  }

  std::vector<ColumnMapping> Columns(const TransformationScope& scope) const {
    const Variables& variables = scope.context.GlobalVariables();
    std::vector<ColumnMapping> columns;
    for (const auto& [from, to] : columns_)
      columns.push_back({from, variables.Substitute(to.text), settings_.flags});
    return WithTransformations(std::move(columns), !namesColumns_, transformations_,
                               settings_.flags, scope);
  }

  PumpSource source_;
  std::unique_ptr<const PumpDestination> destination_;
  PumpSettings settings_;
  std::optional<WatermarkSettings> watermark_;
  bool namesColumns_ = false;
  std::vector<std::pair<std::string, PlacedText>> columns_;  // source column, destination column
  TransformationPlans transformations_;
  std::vector<LookupPlan> lookups_;
  int loadConnections_ = 1;
};

}  // namespace

std::unique_ptr<Task> ReadDataPumpTask(TaskReader& reader) {
  return std::make_unique<PumpTask>(reader, ReadPumpDestination(reader));
}

std::unique_ptr<Task> ReadDataDrivenQueryTask(TaskReader& reader) {
  return std::make_unique<PumpTask>(reader, ReadQueryDestination(reader));
}

}  // namespace torvik::engine
