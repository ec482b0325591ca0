#include "platform/linux/postgres/AdoPostgres.h"

#include <cstdlib>
#include <utility>

#include "platform/linux/database/DefaultsLoad.h"
#include "platform/linux/database/MergeRows.h"
#include "platform/linux/database/PickColumns.h"
#include "platform/linux/database/Recordsets.h"
#include "platform/linux/database/SqlStatements.h"
#include "platform/linux/postgres/PgBulkLoad.h"
#include "platform/linux/postgres/PgBulkRead.h"
#include "platform/linux/postgres/PgCatalogue.h"
#include "platform/linux/postgres/PgConnect.h"
#include "platform/linux/postgres/PgParameters.h"
#include "platform/linux/postgres/PgRows.h"
#include "platform/linux/postgres/PgSession.h"
#include "platform/linux/postgres/PgStaging.h"
#include "platform/linux/postgres/PgTables.h"
#include "platform/linux/postgres/PgUndo.h"
#include "platform/linux/postgres/PgUpdateTarget.h"

namespace torvik {
namespace {

constexpr const char* kPoint = "torvik_point";

/// The rows that a statement changed, by its command tag.
std::int64_t ChangedRows(const PGresult* result) {
  const std::string tag = PQcmdStatus(const_cast<PGresult*>(result));
  for (const char* word : {"INSERT", "UPDATE", "DELETE", "MERGE"})
    if (tag.starts_with(word)) return std::atoll(PQcmdTuples(const_cast<PGresult*>(result)));
  return 0;
}

class AdoPostgres final : public AdoDatabase {
 public:
  AdoPostgres(const DatabaseLogon& logon, int timeoutSeconds,
              std::vector<ado::ProviderError>& errors)
      : session_(std::make_shared<PgSession>(logon, timeoutSeconds, errors)) {}

  ~AdoPostgres() override {
    // A recordset that is still held keeps the connection open, but not the transaction.
    try {
      if (session_->InTransaction()) session_->EndTrans(false);
    } catch (const PlatformError&) {
      // The connection is gone, and its transaction with it.
    }
  }

  bool IsAlive() const override { return session_->IsAlive(); }
  std::vector<ado::ProviderError> Errors() const override { return session_->Errors(); }

  std::int64_t Execute(const std::string& sql) override {
    std::int64_t changedRows = 0;
    for (const PgStatement& statement : Statements(sql))
      changedRows += ChangedRows(session_->Run(statement).get());
    return changedRows;
  }

  void Prepare(const std::string& sql) override {
    for (const PgStatement& statement : Statements(sql, PgMarkers::Numbered))
      session_->Prepare(statement);
  }

  ado::StatementResult ExecuteWith(const std::string& sql, std::span<const ado::Value> parameters,
                                   std::size_t mostRows) override {
    const auto statements = Statements(sql, PgMarkers::Numbered);
    const std::string misfit = MarkerMisfit(CountMarkers(statements), parameters.size());
    if (!misfit.empty()) throw session_->Refusal(misfit);
    const std::vector<PgSession::Parameter> texts = PgParameters(parameters);
    ado::StatementResult result;
    std::size_t used = 0;
    for (const PgStatement& statement : statements) {
      const std::span own = std::span(texts).subspan(used, statement.markers);
      used += statement.markers;
      Take(own.empty() ? session_->Run(statement) : session_->RunWith(statement, own), mostRows,
           result);
    }
    return result;
  }

  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    const std::string text = session_->Resolved(sql);
    PgResult query;
    for (const PgStatement& statement : SplitStatements(text, PgMarkers::None)) {
      PgResult result = session_->Run(statement);
      if (!query && PQnfields(result.get()) > 0) query = std::move(result);
    }
    auto rows = NewPgRows(std::move(query));
    auto target = NewPgUpdateTarget(session_, text, *rows);
    return NewRecordset(std::move(rows), options, Refuse(), std::move(target));
  }

  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    return OpenPgSchema(session_, query, restrictions);
  }

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    const PgTable found = FindPgTable(*session_, table);
    return {found.columns.begin(), found.columns.end()};
  }

  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string> columns,
                                              const ado::LoadOptions& options) override {
    if (options.keepsNulls) return NewPgBulkLoad(session_, table, columns);
    const auto picked = PickColumns(TableColumns(table), columns, table, Refuse());
    return NewDefaultsLoad(picked, [session = session_, table](const auto& some) {
      std::vector<std::string> names;
      for (const ado::Column& column : some) names.push_back(column.name);
      return NewPgBulkLoad(session, table, names);
    });
  }
  std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string& sql, bool alongside) override {
    return OpenPgBulkRead(session_, sql, alongside);
  }
  std::vector<std::string> CreateTable(const std::string& table,
                                       std::span<const ado::Column> columns) override {
    return CreatePgTable(*session_, table, columns);
  }
  void EmptyTable(const std::string& table) override { EmptyPgTable(*session_, table); }
  std::string CreateStagingTable(const std::string& table) override {
    return CreatePgStagingTable(*session_, table);
  }
  std::int64_t ReplaceRows(const std::string& table, const std::string& staging) override {
    return ReplacePgRows(*session_, table, staging);
  }
  std::string CreateSharedStagingTable(const std::string& table) override {
    return CreateSharedPgStagingTable(*session_, table);
  }
  std::int64_t AppendRows(const std::string& table, const std::string& staging,
                          std::span<const std::string> columns) override {
    return AppendPgRows(*session_, table, staging,
                        PickColumns(TableColumns(table), columns, table, Refuse()));
  }
  void ReleaseStagingTable(const std::string& table, const std::string& staging) override {
    ReleasePgStagingTable(*session_, table, staging);
  }
  ado::MergeCounts MergeRows(const std::string& table, const std::string& staging,
                             const ado::MergeOptions& options) override {
    const PgTable target = RequirePgTable(*session_, table);
    const auto run = [this](const std::string& sql) {
      ado::StatementResult result;
      Take(session_->Run(sql), 1, result);
      return result;
    };
    PgUndo undo(*session_);
    const ado::MergeCounts counts = torvik::MergeRows(
        {ado::SqlKind::PostgreSql, target.Quoted(), RequirePgTable(*session_, staging).Quoted(),
         table, PickColumns(TableColumns(table), options.columns, table, Refuse()), options.keys,
         options.deletesMissing},
        run, Refuse());
    AdvanceNumbering(*session_, target);
    undo.Keep();
    return counts;
  }

  std::optional<bool> HasOpenTransaction() override {
    return session_->IsInBlock() || session_->HasFailedBlock();
  }
  void BeginTrans() override { session_->BeginTrans(); }
  void CommitTrans() override { session_->EndTrans(true); }
  void RollbackTrans() override { session_->EndTrans(false); }
  void SetSavepoint() override { session_->SetPoint(kPoint); }
  void RollbackToSavepoint() override { session_->RollbackToPoint(kPoint); }
  void Cancel() override { session_->Cancel(); }

 private:
  RefusalFactory Refuse() const {
    return [session = session_](const std::string& reason) { return session->Refusal(reason); };
  }

  std::vector<PgStatement> Statements(const std::string& sql,
                                      PgMarkers markers = PgMarkers::None) const {
    return SplitStatements(session_->Resolved(sql), markers);
  }

  static void Take(const PgResult& from, std::size_t mostRows, ado::StatementResult& result) {
    result.changedRows += ChangedRows(from.get());
    const int columns = PQnfields(from.get());
    if (columns == 0) return;
    result.columns.clear();
    result.rows.resize(std::min(mostRows, static_cast<std::size_t>(PQntuples(from.get()))));
    for (int column = 0; column < columns; ++column)
      result.columns.emplace_back(PQfname(from.get(), column));
    for (std::size_t row = 0; row < result.rows.size(); ++row) {
      result.rows[row].clear();
      for (int column = 0; column < columns; ++column)
        result.rows[row].push_back(ValueAt(from.get(), static_cast<int>(row), column));
    }
  }

  const std::shared_ptr<PgSession> session_;
};

}  // namespace

bool TakesPostgresPlace(const ServerAddress& place) {
  return place.driver.empty() || KeysUnknownToLibpq(place).empty();
}

std::unique_ptr<AdoDatabase> OpenPostgresDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                                  std::vector<ado::ProviderError>& errors) {
  const std::vector<std::string> unknown = KeysUnknownToLibpq(logon.address);
  if (!unknown.empty())
    throw PlatformError(0,
                        "the server's section of torvik.conf has the key \"" + unknown.front() +
                            "\", which is no connection parameter of PostgreSQL",
                        "PostgreSQL");
  return std::make_unique<AdoPostgres>(logon, timeoutSeconds, errors);
}

}  // namespace torvik
