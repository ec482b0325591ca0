#include "history/SharedHistory.h"

#include "history/SharedTables.h"
#include "platform/Ado.h"
#include "platform/MomentText.h"
#include "platform/OwnTransaction.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

/// A server that is away keeps nobody waiting: runs can be sent later.
constexpr int kConnectTimeoutSeconds = 5;

std::unique_ptr<ado::Connection> Open(ado::Provider& databases, const HistoryPlace& place) {
  auto connection = databases.NewConnection();
  connection->SetProvider("SQLOLEDB");
  connection->SetConnectionTimeout(kConnectTimeoutSeconds);
  connection->SetProperty("Data Source", place.server);
  connection->SetProperty("Initial Catalog", place.database);
  connection->SetProperty("Integrated Security", "SSPI");
  connection->Open();
  return connection;
}

ado::LoadValue LoadValueOf(const ado::Value& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return {};
}

void Insert(ado::Connection& connection, const SharedTable& table,
            const std::vector<SharedRow>& rows) {
  if (rows.empty()) return;
  std::vector<std::string> columns;
  for (const ado::Column& column : table.columns) columns.push_back(column.name);
  std::vector<ado::LoadValue> values;
  for (const SharedRow& row : rows)
    for (const ado::Value& value : row) values.push_back(LoadValueOf(value));
  const auto load = connection.OpenBulkLoad(table.name, columns);
  std::vector<ado::Refusal> refused;
  load->Load({values, columns.size()}, 0, refused);
  if (!refused.empty()) throw PlatformError(refused[0].number, refused[0].description, "history");
  if (load->Finish() != std::ssize(rows))
    throw PlatformError(0, std::string(table.name) + " has not taken all rows", "history");
}

}  // namespace

SharedHistory::SharedHistory(ado::Provider& databases, const HistoryPlace& place)
    : connection_(Open(databases, place)), sql_(ado::SqlKind::Other) {}

SharedHistory::~SharedHistory() = default;

bool SharedHistory::HasTables() {
  if (hasTables_) return true;
  const auto columns = connection_->TableColumns(SharedRuns().name);
  hasTables_ = !columns.empty();
  if (hasTables_) sql_ = columns[0].sql;
  return hasTables_;
}

/// Two machines may do so at once: the later one finds those of the other.
void SharedHistory::MakeTables() {
  try {
    OwnTransaction making(*connection_);
    for (const SharedTable& table :
         {SharedSteps(), SharedFetches(), SharedVariables(), SharedRuns()})
      connection_->CreateTable(table.name, table.columns);
    connection_->Execute("CREATE INDEX torvik_run_begin ON torvik_run (begin_utc)");
    connection_->Execute("CREATE INDEX torvik_run_job ON torvik_run (job_name)");
    making.Commit();
  } catch (const PlatformError& error) {
    if (!HasTables())
      throw error.Saying("the tables torvik_run... cannot be made: " + error.Description());
  }
  HasTables();
}

bool SharedHistory::HasRun(const std::string& key) {
  const ado::Value parameters[] = {key};
  return !connection_->ExecuteWith("SELECT 1 AS found FROM torvik_run WHERE id = ?", parameters)
              .rows.empty();
}

void SharedHistory::Add(const RunRecord& run) {
  if (!HasTables()) MakeTables();
  if (HasRun(SharedKey(run))) return;
  OwnTransaction adding(*connection_);
  Insert(*connection_, SharedRuns(), {RowOfRun(run)});
  Insert(*connection_, SharedSteps(), RowsOfSteps(run));
  Insert(*connection_, SharedFetches(), RowsOfFetches(run));
  Insert(*connection_, SharedVariables(), RowsOfVariables(run));
  adding.Commit();
}

std::vector<RunRecord> SharedHistory::Runs(const RunFilter& filter) {
  if (filter.runningOnly || !HasTables()) return {};
  std::string condition = "1 = 1";
  if (!filter.job.empty())
    condition += " AND (job = " + connection_->Literal(filter.job) +
                 " OR job_name = " + connection_->Literal(SharedJobName(filter.job)) + ")";
  if (filter.failedOnly) condition += " AND outcome <> 'ok'";
  if (filter.since) {
    // The T keeps a SQL Server from reading the date in the order of its own language.
    const char separator = sql_ == ado::SqlKind::SqlServer ? 'T' : ' ';
    condition += " AND begin_utc >= '" + MomentText(*filter.since, separator) + "'";
  }
  return Query(condition, filter.limit);
}

std::vector<RunRecord> SharedHistory::Query(const std::string& condition, int limit) {
  const bool hasTop = sql_ == ado::SqlKind::SqlServer;
  const std::string most = limit == 0 ? "" : std::to_string(limit);
  const std::string sql =
      std::string("SELECT ") + (hasTop && limit != 0 ? "TOP " + most + " " : "") +
      "* FROM torvik_run WHERE " + condition + " ORDER BY begin_utc DESC, id DESC" +
      (hasTop || limit == 0 ? "" : " LIMIT " + most);
  std::vector<RunRecord> runs;
  const auto rows = connection_->OpenRecordset(sql, {});
  for (; !rows->Eof(); rows->MoveNext()) runs.push_back(RunOfRow(*rows));
  return runs;
}

std::optional<RunRecord> SharedHistory::Run(std::string_view host, std::int64_t id) {
  if (!HasTables()) return std::nullopt;
  std::vector<RunRecord> runs =
      Query("host = " + connection_->Literal(host) + " AND run = " + std::to_string(id), 1);
  if (runs.empty()) return std::nullopt;
  ReadParts(runs.front());
  return std::move(runs.front());
}

void SharedHistory::ReadParts(RunRecord& run) {
  const std::string key = connection_->Literal(SharedKey(run));
  const auto read = [&](const SharedTable& table, const auto& take) {
    const auto rows =
        connection_->OpenRecordset(std::string("SELECT * FROM ") + table.name +
                                       " WHERE run_id = " + key + " ORDER BY position",
                                   {});
    for (; !rows->Eof(); rows->MoveNext()) take(*rows);
  };
  read(SharedSteps(), [&](const auto& row) { run.steps.push_back(StepOfRow(row)); });
  read(SharedFetches(), [&](const auto& row) { run.fetches.push_back(FetchOfRow(row)); });
  read(SharedVariables(), [&](const auto& row) {
    run.variables.emplace_back(ado::TextIn(row.Field("name")), ado::TextIn(row.Field("value")));
  });
}

}  // namespace torvik
