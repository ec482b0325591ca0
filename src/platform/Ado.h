#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Bulk.h"
#include "platform/PlatformError.h"

/// The database access of ActiveX Data Objects, as far as the system uses it: connections whose
/// properties are set one by one, recordsets with a current row, schema rowsets. Names and numbers
/// are those of the published interface. What fails throws PlatformError unless said otherwise.
namespace torvik::ado {

enum class CursorLocation : int { UseServer = 2, UseClient = 3 };
enum class CursorType : int { Unspecified = -1, ForwardOnly = 0, Dynamic = 2 };
enum class LockType : int { Unspecified = -1, ReadOnly = 1, Pessimistic = 2 };
enum class ObjectState : int { Closed = 0, Open = 1 };
enum class SchemaQuery : int { Columns = 4, Schemata = 17 };

/// A column's value; the first alternative is NULL. Text is UTF-8, a blob is bytes.
struct Null {
  bool operator==(const Null&) const = default;
};
struct Blob {
  std::string bytes;
  bool operator==(const Blob&) const = default;
};
using Value = std::variant<Null, std::int64_t, double, std::string, Blob>;

/// A value of a row in bulk, its bytes copied.
inline Value ValueOf(const LoadValue& value) {
  switch (value.GetKind()) {
    case LoadValue::Kind::Integer: return value.Integer();
    case LoadValue::Kind::Real: return value.Real();
    case LoadValue::Kind::Text: return std::string(value.Text());
    case LoadValue::Kind::Null: break;
  }
  return Null{};
}

/// A text, or a blob's bytes; empty for any other value.
inline std::string TextIn(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* blob = std::get_if<Blob>(&value)) return blob->bytes;
  return {};
}

/// One entry of a connection's error collection.
struct ProviderError {
  long number = 0;
  std::string description;
};

/// The rows of a query. A new recordset stands on its first row, or at its end when it has none.
class Recordset {
 public:
  virtual ~Recordset() = default;

  virtual bool Eof() const = 0;
  virtual void MoveNext() = 0;

  virtual int FieldCount() const = 0;
  /// Both take a position from 0.
  virtual std::string FieldName(int position) const = 0;
  virtual Value Field(int position) const = 0;
  /// The field of that name, letter case aside. Throws when there is no such field or no current
  /// row.
  virtual Value Field(std::string_view name) const = 0;

  /// Changes a field of the current row; needs a client-side cursor with a lock and a query on one
  /// table. Throws when there is no current row.
  virtual void SetField(std::string_view name, Value value) = 0;
  /// Stores the fields that differ from what was read, in the current row alone. Throws, and leaves
  /// the table as it was, when that row is gone or cannot be told from another one.
  virtual void Update() = 0;

  virtual void Close() = 0;
};

/// How a recordset is opened.
struct CursorOptions {
  CursorLocation location = CursorLocation::UseServer;
  CursorType type = CursorType::Unspecified;
  LockType lock = LockType::Unspecified;
};

/// What a destination column takes, as far as values are checked before they are sent.
enum class ColumnKind { Text, Integer, Decimal, Real, Boolean, Date, DateTime, Binary };

/// Whose SQL a type or a default is written in.
enum class SqlKind { Other, SqlServer, PostgreSql, Embedded };

/// In what the size of a text is counted.
enum class TextUnit { Characters, Utf16, Utf8 };

/// One column of a table. Sizes that the declaration leaves open are 0.
struct Column {
  std::string name;
  ColumnKind kind = ColumnKind::Text;
  std::string declaredType;      ///< As the server spells it: "VARCHAR(40)".
  int size = 0;                  ///< Text: units. Integer: bytes (1, 2, 4 or 8).
  int precision = 0, scale = 0;  ///< Decimal: digits in all, and behind the point.
  bool nullable = true;
  int keyPosition = 0;  ///< Place in the primary key, from 1; 0: not part of it.
  TextUnit unit = TextUnit::Characters;
  int codePage = 0;         ///< In which the server keeps a text, where it does not keep them all.
  bool isIdentity = false;  ///< Numbers the rows by itself.
  std::int64_t seed = 1, increment = 1;  ///< Of an identity: its first number, and the step.
  bool isComputed = false;               ///< Takes no values.
  std::string defaultText;               ///< In the server's own SQL; empty: there is none.
  SqlKind sql = SqlKind::Other;          ///< The server's own SQL.
};

/// How rows are loaded.
struct LoadOptions {
  bool givesIdentity = false;  ///< The rows bring the values of an identity column along.
  bool locksTable = false;     ///< Nobody else reads or writes the table meanwhile.
  bool keepsNulls = true;      ///< Else NULL stands for the default of a column that has one.
  /// Else rows may break checks and foreign keys, where the server can load them so.
  bool checksConstraints = true;
};

/// How the rows of a staging table are merged into its table.
struct MergeOptions {
  std::vector<std::string> columns;  ///< Those that the rows fill.
  std::vector<std::string> keys;     ///< Those of them that tell rows apart; at least one.
  bool deletesMissing = false;       ///< Rows whose key no new row has go.
};

struct MergeCounts {
  std::int64_t inserted = 0;
  std::int64_t updated = 0;  ///< Not those that were the same already.
  std::int64_t deleted = 0;
};

/// What a statement with parameters gave.
struct StatementResult {
  std::int64_t changedRows = 0;
  std::vector<std::string> columns;           ///< Of the last statement that has rows; none: empty.
  std::vector<std::vector<Value>> rows = {};  ///< Its first ones, as many as were asked for.
};

/// An open database: statements, rows and transactions. Used by one thread at a time, but for
/// Cancel. Destruction rolls back what was not committed.
class Database {
 public:
  virtual ~Database() = default;

  /// What the provider said about the last call that failed, in its order.
  virtual std::vector<ProviderError> Errors() const = 0;

  /// Runs every statement of `sql`; answers the number of rows that they changed.
  virtual std::int64_t Execute(const std::string& sql) = 0;

  /// The same; each `?` outside texts, quoted names and comments stands for the next of
  /// `parameters`. Throws when there are more or fewer of them, before anything has run. Answers
  /// at most `mostRows` rows.
  virtual StatementResult ExecuteWith(const std::string& sql, std::span<const Value> parameters,
                                      std::size_t mostRows) = 0;
  StatementResult ExecuteWith(const std::string& sql, std::span<const Value> parameters) {
    return ExecuteWith(sql, parameters, 1);
  }

  /// Has the server compile every statement of `sql` and runs none; throws what it says of the
  /// first that it does not take. What one statement makes is not there for those behind it.
  virtual void Prepare(const std::string& sql) = 0;

  /// `text` as a literal of this server's SQL that keeps every character.
  virtual std::string Literal(std::string_view text) {
    std::string literal = "'";
    for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
    return literal + "'";
  }

  virtual std::unique_ptr<Recordset> OpenRecordset(const std::string& sql,
                                                   const CursorOptions& options) = 0;

  /// A schema rowset. Restrictions go by position as the query type defines them; an empty text
  /// restricts nothing. Columns (TABLE_CATALOG, TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME) has at least
  /// the fields of these names; Schemata has SCHEMA_NAME.
  virtual std::unique_ptr<Recordset> OpenSchema(SchemaQuery query,
                                                std::span<const std::string> restrictions) = 0;

  /// The columns of a table in its own order; empty when there is no such table.
  virtual std::vector<Column> TableColumns(const std::string& table) = 0;

  /// Rows on their way into the named columns of a table.
  virtual std::unique_ptr<BulkLoad> OpenBulkLoad(const std::string& table,
                                                 std::span<const std::string> columns,
                                                 const LoadOptions& options) = 0;
  std::unique_ptr<BulkLoad> OpenBulkLoad(const std::string& table,
                                         std::span<const std::string> columns) {
    return OpenBulkLoad(table, columns, {});
  }

  /// The rows of a query as they are needed: neither side holds all of them. `alongside`: the
  /// connection runs other statements before the last row has been read.
  virtual std::unique_ptr<BulkRead> OpenBulkRead(const std::string& sql, bool alongside) = 0;

  /// Makes a table of these columns, with their key, defaults and numbering. Types are the server's
  /// own that come closest. Answers what of the columns it could not keep, a line each.
  virtual std::vector<std::string> CreateTable(const std::string& table,
                                               std::span<const Column> columns) = 0;

  /// Deletes all rows of a table by the fastest way that a rollback undoes.
  virtual void EmptyTable(const std::string& table) = 0;

  /// Makes an empty table beside `table`, of its columns and, as far as the server can, its checks
  /// and keys, in place of one that an interrupted run left. Answers its name, as SQL spells it
  /// and as the other calls take it.
  virtual std::string CreateStagingTable(const std::string& table) = 0;
  /// Gives `table` the rows of `staging` in place of its own and drops `staging`: readers see the
  /// old rows or the new ones. Belongs into a transaction. Answers how many rows it has now.
  virtual std::int64_t ReplaceRows(const std::string& table, const std::string& staging) = 0;

  /// Changes the rows of `table` that have the key of a row of `staging` into that, adds the other
  /// rows of `staging` and drops it. Belongs into a transaction. Throws when a key is NULL or
  /// stands there twice, and where the server's SQL is not known.
  virtual MergeCounts MergeRows(const std::string& table, const std::string& staging,
                                const MergeOptions& options) = 0;

  /// As CreateStagingTable, for rows that several connections load at once: without the keys, at
  /// which they would wait for each other. Belongs outside a transaction; the table is there for
  /// all at once. No other load makes or removes a staging table of `table` before this one is
  /// released or its connection ends. Throws, and has made nothing, where the server has no such
  /// way.
  virtual std::string CreateSharedStagingTable(const std::string& table);
  /// Adds the rows of `staging` to `table`, the values of `columns` alone, and drops `staging`.
  /// Belongs into a transaction. Answers how many rows came.
  virtual std::int64_t AppendRows(const std::string& table, const std::string& staging,
                                  std::span<const std::string> columns);
  /// Ends what CreateSharedStagingTable has begun: `staging` is dropped if it is there still, and
  /// other loads go on. Belongs outside a transaction. Another connection may do it when the one
  /// that made the table is lost; a table that another load has made since is left alone.
  virtual void ReleaseStagingTable(const std::string& table, const std::string& staging);

  /// Whether a transaction is open, by BeginTrans or by a statement that has begun one and by none
  /// that has ended it. Nothing when the server does not tell.
  virtual std::optional<bool> HasOpenTransaction() = 0;

  virtual void BeginTrans() = 0;
  virtual void CommitTrans() = 0;
  virtual void RollbackTrans() = 0;
  /// Marks a point inside a transaction, and goes back to it.
  virtual void SetSavepoint() = 0;
  virtual void RollbackToSavepoint() = 0;

  /// Ends a running statement of another thread with an error.
  virtual void Cancel() = 0;
};

/// What a database says that rows cannot reach over several connections at once.
[[noreturn]] inline void RefuseSharedStaging() {
  throw PlatformError(0,
                      "this server is not loaded over several connections at once; only PostgreSQL "
                      "is, by its own library; remove load_connections",
                      "data pump");
}
inline std::string Database::CreateSharedStagingTable(const std::string&) {
  RefuseSharedStaging();
}
inline std::int64_t Database::AppendRows(const std::string&, const std::string&,
                                         std::span<const std::string>) {
  RefuseSharedStaging();
}
inline void Database::ReleaseStagingTable(const std::string&, const std::string&) {
  RefuseSharedStaging();
}

/// A connection: it is told property by property where its database is, and then is that database.
class Connection : public Database {
 public:
  /// Chooses the provider and forgets the properties set before.
  virtual void SetProvider(const std::string& name) = 0;
  virtual void SetConnectionTimeout(int seconds) = 0;
  /// Properties of the provider: "Data Source", "Initial Catalog", "User ID", "Password",
  /// "Integrated Security", "Persist Security Info", "Connect Timeout", "Extended Properties".
  /// Takes effect at Open.
  virtual void SetProperty(const std::string& name, const std::string& value) = 0;

  /// Opens with what has been set. A failure throws and is also left in Errors().
  virtual void Open() = 0;
  virtual void Close() = 0;
  virtual ObjectState State() const = 0;
};

/// Makes connections.
class Provider {
 public:
  virtual ~Provider() = default;
  virtual std::unique_ptr<Connection> NewConnection() = 0;
};

}  // namespace torvik::ado
