#include "platform/linux/odbc/AdoOdbc.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <map>

#include "platform/Text.h"
#include "platform/linux/database/MergeRows.h"
#include "platform/linux/database/PickColumns.h"
#include "platform/linux/database/Recordsets.h"
#include "platform/linux/database/SqlStatements.h"
#include "platform/linux/odbc/OdbcBulkLoad.h"
#include "platform/linux/odbc/OdbcBulkRead.h"
#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcLoadSettings.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/odbc/OdbcTables.h"
#include "platform/linux/odbc/OdbcUpdateTarget.h"
#include "platform/linux/odbc/SqlServerBatch.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

constexpr const char* kPoint = "torvik_point";

/// A query that keeps its session open.
class SessionRows final : public QueryRows {
 public:
  SessionRows(std::shared_ptr<OdbcSession> session, const std::string& sql)
      : session_(std::move(session)), query_(*session_) {
    query_.Execute(sql);
  }

  int ColumnCount() const override { return query_.ColumnCount(); }
  std::string ColumnName(int column) const override { return query_.ColumnName(column); }
  bool Step() override { return query_.Step(); }
  ado::Value Column(int column) const override { return query_.Column(column); }

 private:
  const std::shared_ptr<OdbcSession> session_;
  OdbcStatement query_;
};

class AdoOdbc final : public AdoDatabase {
 public:
  AdoOdbc(const DatabaseLogon& logon, int timeoutSeconds, std::vector<ado::ProviderError>& errors)
      : session_(std::make_shared<OdbcSession>(logon, timeoutSeconds, errors)) {}

  ~AdoOdbc() override {
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
    tables_.clear();
    OdbcStatement statement(*session_);
    std::int64_t changedRows = statement.Execute(Resolved(sql));
    while (statement.ColumnCount() > 0) changedRows += statement.ExecuteRest();
    return changedRows;
  }

  /// SQL Server compiles one text as one batch; other drivers take a statement at a time.
  void Prepare(const std::string& sql) override {
    const std::string text = Resolved(sql);
    if (session_->Dialect().Server() == OdbcServer::SqlServer)
      return OdbcStatement(*session_).PrepareNow(text);
    for (const SqlStatementText& statement : SplitStatements(text))
      OdbcStatement(*session_).PrepareNow(std::string(statement.text));
  }

  std::string Literal(std::string_view text) override {
    // Without the mark SQL Server keeps what its code page has, and asks an index of a varchar
    // column as it stands.
    const bool isNational =
        session_->Dialect().Server() == OdbcServer::SqlServer && AsciiLength(text) < text.size();
    return (isNational ? "N" : "") + QuotedText(text);
  }

  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    const std::string text = Resolved(sql);
    auto rows = std::make_unique<SessionRows>(session_, text);
    auto target = NewOdbcUpdateTarget(session_, text, *rows);
    return NewRecordset(std::move(rows), options, Refuse(), std::move(target));
  }

  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    return OpenOdbcSchema(session_, query, restrictions);
  }

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    tables_.clear();  // the catalogue is asked; what follows goes by its answer
    OdbcTable found = Find(table);
    if (found.columns.empty()) return {};
    int position = 0;
    for (const std::string& name : PrimaryKey(*session_, found)) {
      const auto column = std::ranges::find(found.columns, name, &ado::Column::name);
      ++position;
      if (column != found.columns.end()) column->keyPosition = position;
    }
    return found.columns;
  }

  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string> columns,
                                              const ado::LoadOptions& options) override {
    const OdbcTable& found = Find(table);
    return NewOdbcBulkLoad(session_, found, PickColumns(found.columns, columns, table, Refuse()),
                           options);
  }

  ado::StatementResult ExecuteWith(const std::string& sql, std::span<const ado::Value> parameters,
                                   std::size_t mostRows) override {
    tables_.clear();
    const std::string text = Resolved(sql);
    const auto statements = SplitStatements(text);
    if (const auto misfit = MarkerMisfit(CountMarkers(statements), parameters.size());
        !misfit.empty())
      throw session_->Refusal(misfit);
    ado::StatementResult result;
    // SQL Server runs one text as one batch: what it declares is known to its end.
    const bool isBatch = session_->Dialect().Server() == OdbcServer::SqlServer;
    if (parameters.empty() || isBatch) {
      RunWith(parameters.empty() ? text : WithDeclared(text, parameters), {}, mostRows, result);
      return result;
    }
    // A driver takes the parameters of one statement at a time.
    for (const SqlStatementText& statement : statements) {
      RunWith(std::string(statement.text), parameters.first(statement.markers), mostRows, result);
      parameters = parameters.subspan(statement.markers);
    }
    return result;
  }

  std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string& sql, bool) override {
    return NewOdbcBulkRead(session_, Resolved(sql));
  }

  std::vector<std::string> CreateTable(const std::string& table,
                                       std::span<const ado::Column> columns) override {
    tables_.clear();
    return CreateOdbcTable(*session_, table, columns);
  }
  void EmptyTable(const std::string& table) override {
    EmptyOdbcTable(*session_, RequireTable(table));
  }
  std::string CreateStagingTable(const std::string& table) override {
    const OdbcTable found = RequireTable(table);
    tables_.clear();
    return CreateOdbcStagingTable(*session_, found);
  }
  std::int64_t ReplaceRows(const std::string& table, const std::string& staging) override {
    return ReplaceOdbcRows(*session_, RequireTable(table), RequireTable(staging));
  }
  ado::MergeCounts MergeRows(const std::string& table, const std::string& staging,
                             const ado::MergeOptions& options) override {
    const OdbcTable target = RequireTable(table), source = RequireTable(staging);
    if (session_->Dialect().Sql() == ado::SqlKind::Other)
      throw session_->Refusal("table " + table +
                              ": rows can be merged on SQL Server and PostgreSQL alone; write "
                              "load = \"replace\", or choose the queries by rows");
    const MergePlan plan{session_->Dialect().Sql(),
                         QuotedTable(target),
                         QuotedTable(source),
                         table,
                         PickColumns(target.columns, options.columns, table, Refuse()),
                         options.keys,
                         options.deletesMissing};
    const OdbcLoadSettings settings(*session_, target,
                                    std::ranges::any_of(plan.columns, &ado::Column::isIdentity));
    return torvik::MergeRows(
        plan, [this](const std::string& sql) { return ExecuteWith(sql, {}, 1); }, Refuse());
  }

  std::optional<bool> HasOpenTransaction() override {
    const std::string question = session_->Dialect().TransactionQuery();
    if (question.empty()) return std::nullopt;
    OdbcStatement query(*session_);
    query.Execute(question);
    bool isOpen = false;
    while (query.Step()) isOpen = query.Column(0) != ado::Value(std::int64_t{0});
    return isOpen;
  }
  void BeginTrans() override { session_->BeginTrans(); }
  void CommitTrans() override { session_->EndTrans(true); }
  void RollbackTrans() override {
    tables_.clear();
    session_->EndTrans(false);
  }
  void SetSavepoint() override { session_->SetPoint(kPoint); }
  void RollbackToSavepoint() override {
    tables_.clear();
    session_->RollbackToPoint(kPoint);
  }
  void Cancel() override { session_->Cancel(); }

 private:
  RefusalFactory Refuse() const {
    return [session = session_](const std::string& reason) { return session->Refusal(reason); };
  }

  std::string Resolved(const std::string& sql) const {
    try {
      return session_->Dialect().Resolve(sql);
    } catch (const PlatformError& error) {
      throw session_->Refusal(error.Description());
    }
  }

  /// A load asks for the columns, then opens, perhaps once for each commit: one question for all.
  const OdbcTable& Find(const std::string& table) {
    const auto known = tables_.find(table);
    if (known != tables_.end()) return known->second;
    const auto name = SplitTableName(table);
    return tables_[table] = name ? FindOdbcTable(*session_, *name) : OdbcTable();
  }

  OdbcTable RequireTable(const std::string& table) {
    OdbcTable found = Find(table);
    PickColumns(found.columns, {}, table, Refuse());
    return found;
  }

  void RunWith(const std::string& sql, std::span<const ado::Value> parameters, std::size_t mostRows,
               ado::StatementResult& result) {
    OdbcStatement statement(*session_);
    statement.LeaveRest();
    if (parameters.empty()) {
      result.changedRows += statement.Execute(sql);
    } else {
      statement.Prepare(sql);
      result.changedRows += statement.ExecutePrepared(AsSent(parameters));
    }
    for (; statement.ColumnCount() > 0; result.changedRows += statement.ExecuteRest()) {
      result.columns.clear(), result.rows.clear();
      const int columns = statement.ColumnCount();
      for (int i = 0; i < columns; ++i) result.columns.push_back(statement.ColumnName(i));
      while (result.rows.size() < mostRows && statement.Step()) {
        std::vector<ado::Value>& row = result.rows.emplace_back();
        for (int i = 0; i < columns; ++i) row.push_back(statement.Column(i));
      }
    }
  }

  /// PostgreSQL takes a number for a truth value, say, only as a text, which it makes what is
  /// wanted.
  std::vector<ado::Value> AsSent(std::span<const ado::Value> parameters) const {
    std::vector<ado::Value> sent(parameters.begin(), parameters.end());
    if (session_->Dialect().Server() != OdbcServer::PostgreSql) return sent;
    for (ado::Value& value : sent)
      if (const auto* number = std::get_if<std::int64_t>(&value)) value = std::to_string(*number);
    return sent;
  }

  const std::shared_ptr<OdbcSession> session_;
  std::map<std::string, OdbcTable> tables_;  ///< As found since something may have changed them.
};

}  // namespace

std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                              std::vector<ado::ProviderError>& errors) {
  return std::make_unique<AdoOdbc>(logon, timeoutSeconds, errors);
}

std::string DriverOfDataSource(const std::string& name) {
  SQLHENV environment = nullptr;
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment))) return "";
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION,
                reinterpret_cast<SQLPOINTER>(static_cast<std::uintptr_t>(SQL_OV_ODBC3)), 0);
  std::string driver;
  std::u16string source(SQL_MAX_DSN_LENGTH + 1, u'\0'), description(512, u'\0');
  const auto wide = [](std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); };
  SQLSMALLINT sourceLength = 0, descriptionLength = 0;
  for (SQLUSMALLINT direction = SQL_FETCH_FIRST;
       driver.empty() &&
       SQL_SUCCEEDED(SQLDataSourcesW(
           environment, direction, wide(source), static_cast<SQLSMALLINT>(source.size()),
           &sourceLength, wide(description), static_cast<SQLSMALLINT>(description.size()),
           &descriptionLength));
       direction = SQL_FETCH_NEXT) {
    const std::u16string_view found(source.data(), static_cast<std::size_t>(sourceLength));
    if (EqualsIgnoringCase(FromUtf16(found), name))
      driver = FromUtf16({description.data(), static_cast<std::size_t>(descriptionLength)});
  }
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
  return driver;
}

}  // namespace torvik
