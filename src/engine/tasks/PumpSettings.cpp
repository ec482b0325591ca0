#include "engine/tasks/PumpSettings.h"

#include <algorithm>

#include "engine/model/EngineServices.h"
#include "engine/model/LogFiles.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/Conversion.h"
#include "engine/pump/ExceptionFile.h"
#include "engine/pump/RowQueries.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "engine/tasks/LoadWatermark.h"
#include "engine/tasks/PumpInParts.h"
#include "engine/tasks/PumpMove.h"
#include "platform/Clock.h"
#include "platform/OwnTransaction.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// The file that the step names, else one of the step's name in the run's log directory; empty when
/// there is no such directory.
std::string ExceptionPath(const TaskContext& context, const PumpSettings& settings,
                          const Variables& variables) {
  if (settings.exceptionFile) return variables.Substitute(settings.exceptionFile->text);
  return InLogDirectory(variables, context.Step() + ".exceptions");
}

PumpCounts Run(TaskContext& context, const PumpJob& job, PumpRequest request) {
  const PumpSettings& settings = job.settings;
  request.columns = job.columns;
  request.scripts = job.scripts;
  request.flags = settings.flags;
  request.firstRow = settings.firstRow;
  request.lastRow = settings.lastRow;
  request.maximumErrorCount = settings.maximumErrorCount;
  request.onOneThread = job.onOneThread;
  request.choosesQueries = job.choosesQueries;
  if (job.watermark != nullptr) request.watermark = &job.watermark->Rows();
  auto exceptions = NewExceptionFile(context, settings);
  if (exceptions) request.exceptions = &*exceptions;
  return RunPump(
      request, [&](std::int64_t rows) { context.Progress(rows); }, context.Cancelled());
}

/// The load itself, in a transaction that is open.
PumpOutcome Load(TaskContext& context, const PumpJob& job, RowSource& source,
                 const PumpTable& table, const std::function<void()>& commit) {
  const LoadMode load = job.settings.load;
  ado::Connection& destination = table.connection;
  // A file without a single line names no columns, which a table beside could be filled by.
  const bool isEmpty = source.Columns().empty();
  const bool isWhole = load == LoadMode::Replace || job.settings.deletesMissing;
  if (load == LoadMode::Truncate || (isEmpty && isWhole)) destination.EmptyTable(table.name);
  if (isEmpty) return {};
  const bool isStaged = load == LoadMode::Replace || load == LoadMode::Merge;
  const std::string staging = isStaged ? destination.CreateStagingTable(table.name) : std::string();
  ado::LoadOptions options = job.settings.options;
  options.locksTable |= !staging.empty();  // nobody else knows it
  const auto target =
      NewTableTarget(destination, staging.empty() ? table.name : staging, table.database, options);
  PumpRequest request{source, *target};
  if (commit) {
    request.commitSize = job.settings.insertCommitSize;
    request.commit = commit;
  }
  PumpOutcome outcome;
  if (isStaged)
    request.settle = [&](std::int64_t loaded, const std::vector<std::string>& columns) {
      outcome.merged = MoveStagedRows(context, job.settings, table, {staging, loaded, columns});
    };
  static_cast<PumpCounts&>(outcome) = Run(context, job, std::move(request));
  if (job.watermark != nullptr) job.watermark->Keep();
  return outcome;
}

/// Loads in the package's transaction, or in one of its own; `load` gets what commits and goes on,
/// which is empty in the package's.
PumpOutcome InTransaction(
    TaskContext& context, ado::Connection& connection,
    const std::function<PumpOutcome(const std::function<void()>& commit)>& load) {
  if (context.Joined()) return load({});
  RequireNoTransaction(connection);
  OwnTransaction transaction(connection);
  const PumpOutcome outcome = load([&] { transaction.CommitAndGoOn(); });
  transaction.Commit();
  return outcome;
}

void ReadMergeKeys(TaskReader& reader, PumpSettings& settings) {
  settings.keys = reader.Templates("keys");
  settings.deletesMissing = reader.Table().Boolean("delete_missing", false);
  const bool isMerge = settings.load == LoadMode::Merge;
  if (isMerge && settings.keys.empty())
    reader.Problem(reader.Table().Find("load")->place,
                   "a merge needs \"keys\": the columns of the table that tell its rows apart");
  for (const char* key : {"keys", "delete_missing"})
    if (const TomlValue* found = reader.Table().Find(key); found != nullptr && !isMerge)
      reader.Problem(found->place, Quoted(key) + " is for load = \"merge\" alone");
}

}  // namespace

std::optional<ExceptionFile> NewExceptionFile(TaskContext& context, const PumpSettings& settings) {
  const std::string path = ExceptionPath(context, settings, context.GlobalVariables());
  if (path.empty() && settings.maximumErrorCount > 0)
    throw PlatformError(0,
                        "the step may reject rows (maximum_error_count), and there is no place for "
                        "them; give exception_file, or set the variable ExceptionFilePath",
                        "data pump");
  if (path.empty()) return std::nullopt;
  Clock& clock = context.Services().clock;
  std::optional<ExceptionFile> file;
  file.emplace(context.Services().files,
               ExceptionFile::Settings{path, settings.exceptionFileOverwrite,
                                       "Package " + Quoted(context.RunningPackages().back()) +
                                           ", step " + Quoted(context.Step()),
                                       [&clock] { return LogTime(clock.LocalTime()); }});
  file->Begin();
  return file;
}

void RequireNoTransaction(ado::Connection& connection) {
  if (!connection.HasOpenTransaction().value_or(false)) return;
  throw PlatformError(0,
                      "an earlier step's SQL text has begun a transaction that is still open on "
                      "this connection, and the rows cannot have one of their own: end it with "
                      "COMMIT before, or write join_transaction = true for these steps",
                      "data pump");
}

PumpSettings ReadPumpSettings(TaskReader& reader, bool toTable) {
  PumpSettings settings;
  if (toTable) {
    static constexpr const char* kModes[] = {"append", "truncate", "replace", "merge"};
    settings.load = static_cast<LoadMode>(reader.OneOf("load", kModes, 0));
    ReadMergeKeys(reader, settings);
    settings.insertCommitSize = reader.Whole("insert_commit_size", 0, 0);
    settings.options.givesIdentity = reader.Table().Boolean("identity_insert", false);
    settings.options.locksTable = reader.Table().Boolean("table_lock", false);
    settings.options.keepsNulls = reader.Table().Boolean("keep_nulls", false);
    settings.options.checksConstraints = reader.Table().Boolean("check_constraints", true);
  }
  settings.firstRow = reader.Whole("first_row", 0, 0);
  settings.lastRow = reader.Whole("last_row", 0, 0);
  if (settings.lastRow > 0 && settings.lastRow < settings.firstRow)
    reader.Problem(reader.Table().Find("last_row")->place,
                   "\"last_row\" comes before \"first_row\"; no row would be pumped");
  settings.maximumErrorCount = reader.Whole("maximum_error_count", 0, 0);
  settings.exceptionFile = reader.Template("exception_file");
  settings.exceptionFileOverwrite = reader.Table().Boolean("exception_file_overwrite", false);
  settings.flags = ReadTransformFlags(reader);
  return settings;
}

unsigned ReadTransformFlags(TaskReader& reader) {
  static const std::vector<std::string> kWords = {
      "demotion",    "promotion",   "string_truncation",  "numeric_truncation",
      "null_change", "sign_change", "require_exact_type", "force_convert"};
  unsigned flags = 0;
  const TomlArray* array = reader.Table().Array("allow");
  if (array == nullptr) return flags;
  for (const TomlValue& element : *array) {
    const auto* word = std::get_if<std::string>(&element.data);
    const auto found = word ? std::find(kWords.begin(), kWords.end(), *word) : kWords.end();
    if (found == kWords.end()) {
      reader.Problem(element.place,
                     "an element of \"allow\" is " + (word ? Quoted(*word) : KindOf(element)) +
                         "; " +
                         (word ? DidYouMean(*word, kWords, UseOneOf(kWords)) : UseOneOf(kWords)));
    } else {
      flags |= 1u << (found - kWords.begin());
    }
  }
  return flags;
}

PumpOutcome PumpIntoTable(TaskContext& context, const PumpJob& job, RowSource& source,
                          const PumpTable& table) {
  // A file without a single line has no parts.
  if (job.parts != nullptr && !source.Columns().empty())
    if (const auto outcome = PumpInParts(context, job, *job.parts, source, table)) return *outcome;
  return InTransaction(context, table.connection, [&](const std::function<void()>& commit) {
    return Load(context, job, source, table, commit);
  });
}

PumpOutcome PumpIntoQueries(TaskContext& context, const PumpJob& job, RowSource& source,
                            const PumpTable& table, RowQueries& queries) {
  const auto target = NewQueryTarget(table.connection, table.name, queries);
  return InTransaction(context, table.connection, [&](const std::function<void()>&) {
    return PumpOutcome{Run(context, job, PumpRequest{source, *target})};
  });
}

TaskResult ResultOf(const PumpOutcome& outcome) {
  TaskResult result{std::optional<std::int64_t>(outcome.loaded), outcome.rejected};
  if (const auto& merged = outcome.merged)
    result.details = std::to_string(merged->inserted) + " inserted, " +
                     std::to_string(merged->updated) + " updated, " +
                     std::to_string(merged->deleted) + " deleted";
  return result;
}

PumpOutcome PumpIntoTarget(TaskContext& context, const PumpJob& job, RowSource& source,
                           RowTarget& target) {
  return {Run(context, job, PumpRequest{source, target})};
}

}  // namespace torvik::engine
