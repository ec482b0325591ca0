#include "platform/linux/AdoOdbc.h"

#include <sql.h>
#include <sqlext.h>

#include "platform/Text.h"
#include "platform/linux/OdbcBulkLoad.h"
#include "platform/linux/OdbcCatalogue.h"
#include "platform/linux/OdbcRowTarget.h"
#include "platform/linux/OdbcStatement.h"
#include "platform/linux/PickColumns.h"
#include "platform/linux/Recordsets.h"
#include "platform/linux/Utf16.h"

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
  AdoOdbc(const OdbcLogon& logon, int timeoutSeconds, std::vector<ado::ProviderError>& errors)
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
    OdbcStatement statement(*session_);
    std::int64_t changedRows = statement.Execute(Resolved(sql));
    while (statement.ColumnCount() > 0) changedRows += statement.ExecuteRest();
    return changedRows;
  }

  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    const std::string text = Resolved(sql);
    auto rows = std::make_unique<SessionRows>(session_, text);
    auto target = NewOdbcRowTarget(session_, text, *rows);
    return NewRecordset(std::move(rows), options, Refuse(), std::move(target));
  }

  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    return OpenOdbcSchema(session_, query, restrictions);
  }

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    return Find(table).columns;
  }

  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string> columns) override {
    const OdbcTable found = Find(table);
    return NewOdbcBulkLoad(session_, QuotedTable(found),
                           PickColumns(found.columns, columns, table, Refuse()));
  }

  void BeginTrans() override { session_->BeginTrans(); }
  void CommitTrans() override { session_->EndTrans(true); }
  void RollbackTrans() override { session_->EndTrans(false); }
  void SetSavepoint() override { session_->SetPoint(kPoint); }
  void RollbackToSavepoint() override { session_->RollbackToPoint(kPoint); }
  void Cancel() override { session_->Cancel(); }

 private:
  RefuseBy Refuse() const {
    return [session = session_](const std::string& reason) { return session->Refusal(reason); };
  }

  std::string Resolved(const std::string& sql) const {
    try {
      return session_->Dialect().Resolve(sql);
    } catch (const PlatformError& error) {
      throw session_->Refusal(error.Description());
    }
  }

  OdbcTable Find(const std::string& table) const {
    const auto name = SplitTableName(table);
    return name ? FindOdbcTable(*session_, *name) : OdbcTable();
  }

  const std::shared_ptr<OdbcSession> session_;
};

}  // namespace

std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const OdbcLogon& logon, int timeoutSeconds,
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
