#include "platform/linux/odbc/OdbcCatalogue.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <map>
#include <set>

#include "platform/Text.h"
#include "platform/linux/database/Recordsets.h"
#include "platform/linux/database/ServerValues.h"
#include "platform/linux/odbc/OdbcFields.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/odbc/SqlServerTable.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

/// An argument of a catalogue function; an empty text is left open.
class Argument {
 public:
  explicit Argument(const std::string& text) : text_(ToUtf16(text)) {}
  SQLWCHAR* Data() { return text_.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(text_.data()); }
  SQLSMALLINT Length() const { return static_cast<SQLSMALLINT>(text_.size()); }

 private:
  std::u16string text_;
};

/// The text with what would stand for other characters marked as itself.
std::string Pattern(const OdbcSession& session, const std::string& text) {
  const std::string escape = session.Info(SQL_SEARCH_PATTERN_ESCAPE);
  std::string pattern;
  for (const char c : text) {
    if (c == '_' || c == '%') pattern += escape;
    pattern += c;
  }
  return pattern;
}

void QueryColumns(OdbcStatement& statement, const OdbcSession& session,
                  const std::string& catalogue, const std::string& schema, const std::string& table,
                  const std::string& column) {
  // A SQL Server's procedure behind this wants a table, or a pattern that all fit.
  Argument a(catalogue), b(Pattern(session, schema)),
      c(table.empty() ? "%" : Pattern(session, table)), d(Pattern(session, column));
  statement.RunCatalogue([&](void* handle) {
    return SQLColumnsW(handle, a.Data(), a.Length(), b.Data(), b.Length(), c.Data(), c.Length(),
                       d.Data(), d.Length());
  });
}

/// The columns of the rowset that SQLColumns defines, from 0.
enum ColumnsField : int {
  kTableCatalogue = 0,
  kTableSchema = 1,
  kTableName = 2,
  kColumnName = 3,
  kDataType = 4,
  kTypeName = 5,
  kColumnSize = 6,
  kDecimalDigits = 8,
  kNullable = 10,
  kDefault = 12,
  kOrdinalPosition = 16,
};

/// A serial or identity column is a whole number with a default.
std::string DeclaredType(std::string name) {
  if (name == "serial") return "int4";
  if (name == "bigserial") return "int8";
  if (name.ends_with(" identity")) name.erase(name.find_first_of(" ("));
  return name;
}

/// SQL Server's catalogue calls its newer types texts, for the sake of older programs.
ado::ColumnKind KindOfText(const std::string& type) {
  if (type == "date") return ado::ColumnKind::Date;
  const bool isMoment = type == "datetime2" || type == "datetimeoffset";
  return isMoment ? ado::ColumnKind::DateTime : ado::ColumnKind::Text;
}

ado::Column ColumnOf(const QueryRows& row) {
  using enum ado::ColumnKind;
  ado::Column column{.name = TextAt(row, kColumnName), .declaredType = {}};
  column.nullable = NumberAt(row, kNullable) != SQL_NO_NULLS;
  constexpr int kNoLimit = 0x3FFFFFFF;  // of a text of SQL Server, in characters
  const int size = NumberAt(row, kColumnSize);
  const std::string type = DeclaredType(TextAt(row, kTypeName));
  std::string sizes;
  switch (NumberAt(row, kDataType)) {
    case SQL_TINYINT:
    case SQL_SMALLINT: column.kind = Integer, column.size = 2; break;
    case SQL_INTEGER: column.kind = Integer, column.size = 4; break;
    case SQL_BIGINT: column.kind = Integer, column.size = 8; break;
    case SQL_BIT: column.kind = Boolean; break;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE: column.kind = Real; break;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
      column.kind = Decimal;
      column.precision = size;
      column.scale = NumberAt(row, kDecimalDigits);
      sizes = "(" + std::to_string(size) + ", " + std::to_string(column.scale) + ")";
      break;
    case SQL_TYPE_DATE: column.kind = Date; break;
    case SQL_TYPE_TIMESTAMP: column.kind = DateTime; break;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY: column.kind = Binary; break;
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
      column.kind = KindOfText(type);
      if (column.kind != Text || size >= kNoLimit) break;
      column.size = std::max(size, 0);
      sizes = "(" + std::to_string(column.size) + ")";
      break;
    default: break;
  }
  column.declaredType = type + sizes;
  column.defaultText = TextAt(row, kDefault);
  return column;
}

/// The tables that fit, by schema, each with its columns.
std::vector<OdbcTable> TablesNamed(OdbcSession& session, const OdbcDialect::Place& place,
                                   const std::string& name) {
  OdbcStatement columns(session);
  QueryColumns(columns, session, place.catalogue, place.schema, name, "");
  std::vector<OdbcTable> tables;
  while (columns.Step()) {
    const std::string schema = TextAt(columns, kTableSchema);
    auto table = std::ranges::find(tables, schema, &OdbcTable::schema);
    if (table == tables.end()) {
      tables.push_back({TextAt(columns, kTableCatalogue), schema, TextAt(columns, kTableName), {}});
      table = std::prev(tables.end());
    }
    table->columns.push_back(ColumnOf(columns));
  }
  return tables;
}

/// A name as the server stores one that is not quoted.
std::string Folded(const OdbcSession& session, std::string name) {
  SQLUSMALLINT identifierCase = 0;
  SQLGetInfoW(session.Handle(), SQL_IDENTIFIER_CASE, &identifierCase, sizeof identifierCase,
              nullptr);
  for (char& c : name) {
    if (identifierCase == SQL_IC_LOWER) c = LowerAscii(c);
    if (identifierCase == SQL_IC_UPPER && c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return name;
}

/// Rows that are at hand.
class MemoryRows final : public QueryRows {
 public:
  MemoryRows(std::vector<std::string> names, std::vector<Row> rows)
      : names_(std::move(names)), rows_(std::move(rows)) {}

  int ColumnCount() const override { return static_cast<int>(names_.size()); }
  std::string ColumnName(int column) const override {
    return names_.at(static_cast<std::size_t>(column));
  }
  bool Step() override { return next_++ < rows_.size(); }
  ado::Value Column(int column) const override {
    return rows_.at(next_ - 1).at(static_cast<std::size_t>(column));
  }

 private:
  std::vector<std::string> names_;
  std::vector<Row> rows_;
  std::size_t next_ = 0;
};

std::vector<Row> ColumnRows(OdbcSession& session, std::span<const std::string> restrictions) {
  const auto restriction = [&](std::size_t position) {
    return position < restrictions.size() ? restrictions[position] : std::string();
  };
  OdbcStatement columns(session);
  QueryColumns(columns, session, restriction(0), restriction(1), restriction(2), restriction(3));
  std::vector<Row> rows;
  while (columns.Step())
    rows.push_back({columns.Column(kTableCatalogue), columns.Column(kTableSchema),
                    columns.Column(kTableName), columns.Column(kColumnName),
                    columns.Column(kOrdinalPosition), columns.Column(kTypeName),
                    std::int64_t{NumberAt(columns, kNullable) != SQL_NO_NULLS}});
  return rows;
}

std::vector<Row> SchemaRows(OdbcSession& session) {
  OdbcStatement schemas(session);
  std::u16string none, all = u"%";
  schemas.RunCatalogue([&](void* handle) {
    const auto text = [](std::u16string& value) {
      return reinterpret_cast<SQLWCHAR*>(value.data());
    };
    return SQLTablesW(handle, text(none), 0, text(all), 1, text(none), 0, text(none), 0);
  });
  std::set<std::string> names;  // SQL Server's driver tells a schema once for every table in it
  while (schemas.Step()) names.insert(TextAt(schemas, kTableSchema));
  std::vector<Row> rows;
  for (const std::string& name : names) rows.push_back({name});
  return rows;
}

}  // namespace

namespace {

OdbcTable FindByDriver(OdbcSession& session, const TableName& name) {
  const OdbcDialect::Place place = session.Dialect().PlaceOf(name);
  std::vector<OdbcTable> tables = TablesNamed(session, place, name.table);
  if (tables.empty()) {
    const std::string folded = Folded(session, name.table);
    if (folded != name.table) tables = TablesNamed(session, place, folded);
  }
  if (tables.empty()) return {};
  for (OdbcTable& table : tables)
    for (ado::Column& column : table.columns) column.sql = session.Dialect().Sql();
  const auto own = std::ranges::find(tables, session.DefaultSchema(), &OdbcTable::schema);
  return own == tables.end() ? tables.front() : *own;
}

}  // namespace

OdbcTable FindOdbcTable(OdbcSession& session, const TableName& name) {
  if (session.Dialect().Server() != OdbcServer::SqlServer) return FindByDriver(session, name);
  OdbcTable table = FindSqlServerTable(session, name);
  if (!table.columns.empty() || name.table.starts_with('#')) return table;
  // A table of another schema, which a statement would not find by its bare name.
  table = FindByDriver(session, name);
  return table.columns.empty()
             ? table
             : FindSqlServerTable(session, {name.database, table.name, table.schema});
}

std::string FoldedWord(const OdbcSession& session, const std::string& name) {
  const auto isPlain = [](char c) {
    return c == '_' || (c >= '0' && c <= '9') || (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z');
  };
  return std::ranges::all_of(name, isPlain) ? Folded(session, name) : name;
}

namespace {

std::vector<std::string> KnownKey(const OdbcTable& table) {
  std::map<int, std::string> columns;
  for (const ado::Column& column : table.columns)
    if (column.keyPosition > 0) columns[column.keyPosition] = column.name;
  std::vector<std::string> names;
  for (const auto& [position, column] : columns) names.push_back(column);
  return names;
}

}  // namespace

std::vector<std::string> PrimaryKey(OdbcSession& session, const OdbcTable& table) {
  if (session.Dialect().Server() == OdbcServer::SqlServer) return KnownKey(table);
  constexpr int kKeyColumn = 3, kKeySequence = 4;
  SQLUSMALLINT isThere = SQL_TRUE;
  SQLGetFunctions(session.Handle(), SQL_API_SQLPRIMARYKEYS, &isThere);
  if (isThere != SQL_TRUE) return {};
  Argument a(table.catalogue), b(table.schema), c(table.name);
  OdbcStatement keys(session);
  keys.RunCatalogue([&](void* handle) {
    return SQLPrimaryKeysW(handle, a.Data(), a.Length(), b.Data(), b.Length(), c.Data(),
                           c.Length());
  });
  std::map<int, std::string> columns;
  while (keys.Step()) columns[NumberAt(keys, kKeySequence)] = TextAt(keys, kKeyColumn);
  std::vector<std::string> names;
  for (const auto& [sequence, column] : columns) names.push_back(column);
  return names;
}

std::string QuotedTable(const OdbcTable& table) {
  std::string quoted;
  for (const std::string& part : {table.catalogue, table.schema})
    if (!part.empty()) quoted += QuotedName(part) + ".";
  return quoted + QuotedName(table.name);
}

std::unique_ptr<ado::Recordset> OpenOdbcSchema(std::shared_ptr<OdbcSession> session,
                                               ado::SchemaQuery query,
                                               std::span<const std::string> restrictions) {
  std::unique_ptr<QueryRows> rows;
  if (query == ado::SchemaQuery::Schemata) {
    rows =
        std::make_unique<MemoryRows>(std::vector<std::string>{"SCHEMA_NAME"}, SchemaRows(*session));
  } else {
    rows = std::make_unique<MemoryRows>(
        std::vector<std::string>{"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "COLUMN_NAME",
                                 "ORDINAL_POSITION", "DATA_TYPE", "IS_NULLABLE"},
        ColumnRows(*session, restrictions));
  }
  return NewRecordset(
      std::move(rows), {},
      [session](const std::string& reason) { return session->Refusal(reason); }, nullptr);
}

}  // namespace torvik
