#include "platform/linux/sqlite/AdoSqlite.h"

#include <sqlite3.h>

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/DefaultsLoad.h"
#include "platform/linux/database/MergeRows.h"
#include "platform/linux/database/PickColumns.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlStatements.h"
#include "platform/linux/database/SqlTokens.h"
#include "platform/linux/database/SqliteColumns.h"
#include "platform/linux/sqlite/SqliteBulkLoad.h"
#include "platform/linux/sqlite/SqliteBulkRead.h"
#include "platform/linux/sqlite/SqliteIdentity.h"
#include "platform/linux/sqlite/SqliteRecordset.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"
#include "platform/linux/sqlite/SqliteTables.h"

namespace torvik {
namespace {

/// The statements of a text, one after the other.
class SqlScript {
 public:
  explicit SqlScript(std::string_view text) : text_(text) { MoveTo(0); }

  bool AtEnd() const { return position_ == text_.size(); }

  std::unique_ptr<SqliteStatement> Next(SqliteSession& session) {
    auto statement = std::make_unique<SqliteStatement>(
        session, text_.substr(position_), "line " + std::to_string(line_) + " of the SQL text");
    MoveTo(position_ + statement->Length());
    return statement;
  }

 private:
  void MoveTo(std::size_t from) {
    const std::size_t next = SkipBlanks(text_, from);
    line_ += LineOf(text_.substr(position_, next - position_), next - position_) - 1;
    position_ = next;
  }

  const std::string_view text_;
  std::size_t position_ = 0;
  int line_ = 1;
};

/// The columns of tables and views. Parameters: the restrictions, of which the empty ones restrict
/// nothing, and the schema that the catalogue has in the session.
std::string ColumnsQuery(const std::string& schema) {
  return R"(
SELECT ?1 AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, t.name AS TABLE_NAME, c.name AS COLUMN_NAME,
       c.cid + 1 AS ORDINAL_POSITION, c.type AS DATA_TYPE, NOT c."notnull" AS IS_NULLABLE
  FROM )" +
         QuotedName(schema) +
         R"(.sqlite_schema AS t JOIN pragma_table_info(t.name, ?5) AS c
 WHERE t.type IN ('table', 'view') AND t.name NOT LIKE 'sqlite\_%' ESCAPE '\'
   AND ?2 COLLATE NOCASE IN ('', 'dbo')
   AND (?3 = '' OR t.name = ?3 COLLATE NOCASE) AND (?4 = '' OR c.name = ?4 COLLATE NOCASE)
 ORDER BY t.name, c.cid)";
}

constexpr const char* kSchemataQuery =
    "SELECT name AS SCHEMA_NAME FROM temp.sysdatabases"
    " WHERE ?1 = '' OR name = ?1 COLLATE NOCASE ORDER BY name";

class AdoSqlite final : public AdoDatabase {
 public:
  explicit AdoSqlite(std::shared_ptr<SqliteSession> session) : session_(std::move(session)) {}

  ~AdoSqlite() override {
    // A recordset that is still held keeps the handle open, but not the transaction.
    if (!sqlite3_get_autocommit(session_->Handle()))
      sqlite3_exec(session_->Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  }

  std::vector<ado::ProviderError> Errors() const override { return session_->Errors(); }

  std::int64_t Execute(const std::string& sql) override {
    const std::string text = session_->Resolve(sql);
    std::int64_t changedRows = 0;
    for (SqlScript script(text); !script.AtEnd();) {
      const auto statement = script.Next(*session_);
      while (statement->Step()) {
      }
      changedRows += statement->ChangedRows();
    }
    return changedRows;
  }

  /// A pragma may act when it is compiled already.
  void Prepare(const std::string& sql) override {
    const std::string text = session_->Resolve(sql);
    for (const SqlStatementText& statement : SplitStatements(text))
      if (const auto tokens = Tokenise(statement.text);
          !tokens.empty() && EqualsIgnoringCase(tokens.front().text, "PRAGMA"))
        throw session_->Refusal("line " + std::to_string(statement.line) +
                                ": a PRAGMA cannot be tried without running it");
    for (SqlScript script(text); !script.AtEnd();) script.Next(*session_);
  }

  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    const std::string text = session_->Resolve(sql);
    return NewSqliteRecordset(session_, OnlyStatement(text, "a recordset"), options);
  }

  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    const auto restriction = [&](std::size_t position) {
      return position < restrictions.size() ? restrictions[position] : std::string();
    };
    std::string catalogue = restriction(0);
    if (query == ado::SchemaQuery::Schemata) return Rows(kSchemataQuery, {catalogue});
    const std::string schema = session_->Schema(catalogue);
    if (catalogue.empty()) catalogue = session_->CurrentDatabase();
    return Rows(ColumnsQuery(schema),
                {catalogue, restriction(1), restriction(2), restriction(3), schema});
  }

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    const auto name = SplitTableName(table);
    const bool isThere = name && (name->schema.empty() || EqualsIgnoringCase(name->schema, "dbo"));
    return isThere ? ColumnsOf(*name) : std::vector<ado::Column>();
  }

  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string> columns,
                                              const ado::LoadOptions& options) override {
    const auto picked =
        PickColumns(TableColumns(table), columns, table,
                    [this](const std::string& reason) { return session_->Refusal(reason); });
    const auto name = SplitTableName(table);
    const auto open = [session = session_, schema = session_->Schema(name->database),
                       bare = name->table, isOwn = isOwnTransaction_](const auto& some) {
      return NewSqliteBulkLoad(session, schema, bare, some, isOwn);
    };
    return options.keepsNulls ? open(picked) : NewDefaultsLoad(picked, open);
  }

  ado::StatementResult ExecuteWith(const std::string& sql, std::span<const ado::Value> parameters,
                                   std::size_t mostRows) override {
    const std::string text = session_->Resolve(sql);
    if (const auto misfit = MarkerMisfit(CountMarkers(SplitStatements(text)), parameters.size());
        !misfit.empty())
      throw session_->Refusal(misfit);
    ado::StatementResult result;
    for (SqlScript script(text); !script.AtEnd();) {
      const auto statement = script.Next(*session_);
      parameters = Bind(*statement, parameters);
      RunWhole(*statement, mostRows, result);
    }
    return result;
  }

  std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string& sql, bool alongside) override {
    const std::string text = session_->Resolve(sql);
    auto query = OnlyStatement(text, "a query");
    if (query->ColumnCount() == 0)
      throw session_->Refusal("the SQL text is no query: it has no rows");
    // Nothing can change what is only read.
    if (!alongside || session_->IsReadOnly())
      return NewSqliteBulkRead(session_, text, std::move(query));
    return NewSqliteSpooledRead(session_, text, *query);
  }

  std::vector<std::string> CreateTable(const std::string& table,
                                       std::span<const ado::Column> columns) override {
    return CreateSqliteTable(*session_, Place(table), columns);
  }
  void EmptyTable(const std::string& table) override { EmptySqliteTable(*session_, Place(table)); }
  std::string CreateStagingTable(const std::string& table) override {
    return CreateSqliteStagingTable(*session_, Place(table));
  }
  std::int64_t ReplaceRows(const std::string& table, const std::string& staging) override {
    return ReplaceSqliteRows(*session_, Place(table), Place(staging));
  }
  ado::MergeCounts MergeRows(const std::string& table, const std::string& staging,
                             const ado::MergeOptions& options) override {
    const RefusalFactory refuse = [this](const auto& reason) { return session_->Refusal(reason); };
    const auto run = [this](const std::string& sql) { return ExecuteWith(sql, {}, 1); };
    return torvik::MergeRows({ado::SqlKind::Embedded, SqliteSpelling(Place(table)), staging, table,
                              PickColumns(TableColumns(table), options.columns, table, refuse),
                              options.keys, options.deletesMissing},
                             run, refuse);
  }

  std::optional<bool> HasOpenTransaction() override {
    return sqlite3_get_autocommit(session_->Handle()) == 0;
  }
  void BeginTrans() override {
    session_->ReleaseGuests();  // it would keep others from writing there
    session_->Run("BEGIN IMMEDIATE");
    hasSavepoint_ = false;
    isOwnTransaction_ = true;
  }
  void CommitTrans() override { EndTrans("COMMIT"); }
  void RollbackTrans() override { EndTrans("ROLLBACK"); }

  void SetSavepoint() override {
    if (sqlite3_get_autocommit(session_->Handle()))
      throw session_->Refusal("a savepoint needs a transaction, and none is open");
    // The point moves: without the release, each step's point would be kept to the end.
    if (hasSavepoint_) session_->Run("RELEASE torvik_point");
    session_->Run("SAVEPOINT torvik_point");
    hasSavepoint_ = true;
    isOwnTransaction_ = false;  // several steps share it
  }
  void RollbackToSavepoint() override { session_->Run("ROLLBACK TO torvik_point"); }

  void Cancel() override { session_->Cancel(); }

 private:
  void EndTrans(const char* sql) {
    session_->Run(sql);
    session_->ReleaseRowsFile();
    session_->ReleaseGuests();
  }

  SqlitePlace Place(const std::string& table) { return SqlitePlaceOf(*session_, table); }

  std::unique_ptr<SqliteStatement> OnlyStatement(const std::string& text, const char* what) {
    SqlScript script(text);
    auto statement = script.Next(*session_);
    if (!script.AtEnd())
      throw session_->Refusal(std::string(what) +
                              " takes one statement; the text has more than one");
    return statement;
  }

  /// Binds the first of `parameters`, as many as the statement takes, and answers the others.
  std::span<const ado::Value> Bind(SqliteStatement& statement,
                                   std::span<const ado::Value> parameters) {
    const auto count = static_cast<std::size_t>(statement.ParameterCount());
    if (count > parameters.size())
      throw session_->Refusal("the SQL text has a marker that is no plain \"?\"");
    for (std::size_t i = 0; i < count; ++i) statement.Bind(static_cast<int>(i) + 1, parameters[i]);
    return parameters.subspan(count);
  }

  static void RunWhole(SqliteStatement& statement, std::size_t mostRows,
                       ado::StatementResult& result) {
    const int columns = statement.ColumnCount();
    if (columns > 0) result.columns.clear(), result.rows.clear();
    for (int i = 0; i < columns; ++i) result.columns.push_back(statement.ColumnName(i));
    while (statement.Step()) {
      if (result.rows.size() == mostRows) continue;
      std::vector<ado::Value>& row = result.rows.emplace_back();
      for (int i = 0; i < columns; ++i) row.push_back(statement.Column(i));
    }
    result.changedRows += statement.ChangedRows();
  }

  /// A schema rowset. It is small, so that no lock need be held while it is read.
  std::unique_ptr<ado::Recordset> Rows(const std::string& sql,
                                       const std::vector<ado::Value>& parameters) {
    auto query = std::make_unique<SqliteStatement>(*session_, sql, "");
    for (std::size_t i = 0; i < parameters.size(); ++i)
      query->Bind(static_cast<int>(i) + 1, parameters[i]);
    return NewSqliteRecordset(session_, std::move(query),
                              {.location = ado::CursorLocation::UseClient});
  }

  std::vector<ado::Column> ColumnsOf(const TableName& name) {
    const std::string schema = session_->Schema(name.database);
    session_->Meet(name.table);
    SqliteStatement query(*session_,
                          "SELECT name, type, \"notnull\", pk, dflt_value, hidden "
                          "FROM pragma_table_xinfo(?1, ?2) WHERE hidden <> 1",
                          "");
    query.Bind(1, name.table);
    query.Bind(2, schema);
    std::vector<ado::Column> columns;
    while (query.Step()) {
      columns.push_back(ColumnOfType(std::get<std::string>(query.Column(1))));
      columns.back().name = std::get<std::string>(query.Column(0));
      columns.back().sql = ado::SqlKind::Embedded;
      columns.back().nullable = std::get<std::int64_t>(query.Column(2)) == 0;
      columns.back().keyPosition = static_cast<int>(std::get<std::int64_t>(query.Column(3)));
      if (const auto value = query.Column(4); std::holds_alternative<std::string>(value))
        columns.back().defaultText = std::get<std::string>(value);
      columns.back().isComputed = std::get<std::int64_t>(query.Column(5)) != 0;
    }
    const auto isKey = [](const ado::Column& column) { return column.keyPosition > 0; };
    if (session_->IsReadOnly() || std::ranges::count_if(columns, isKey) != 1) return columns;
    if (const auto identity = FindIdentity(*session_, {schema, name.table})) {
      ado::Column& key = *std::ranges::find_if(columns, isKey);
      key.isIdentity = true;
      key.seed = identity->seed, key.increment = identity->increment;
    }
    return columns;
  }

  const std::shared_ptr<SqliteSession> session_;
  bool hasSavepoint_ = false;
  bool isOwnTransaction_ = false;  ///< The last one is for what one step does.
};

}  // namespace

std::unique_ptr<AdoDatabase> OpenSqliteDatabase(const std::string& directory,
                                                const std::string& database, int timeoutSeconds,
                                                const EmbeddedDurability& durability) {
  return std::make_unique<AdoSqlite>(
      std::make_shared<SqliteSession>(directory, database, timeoutSeconds, durability));
}

std::unique_ptr<AdoDatabase> OpenReadOnlyTables(const std::string& name, const std::string& path,
                                                std::unique_ptr<SessionTables> tables) {
  return std::make_unique<AdoSqlite>(
      std::make_shared<SqliteSession>(EmbeddedDatabase{name, path}, std::move(tables)));
}

}  // namespace torvik
