#include "platform/linux/odbc/SqlServerTable.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <initializer_list>

#include "platform/Text.h"
#include "platform/linux/odbc/OdbcFields.h"
#include "platform/linux/odbc/OdbcSession.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

/// The fields of the question, from 0.
struct Field {
  enum : int {
    Schema,
    Table,
    Name,
    Type,
    Length,
    Precision,
    Scale,
    Flags,
    Key,
    Page,
    Default,
    Seed,
    Increment
  };
};
struct ColumnFlag {
  enum : int { Nullable = 1, Identity = 2, Computed = 4 };
};

constexpr int kLongestLimited = 8000;  // bytes

constexpr const char* kColumnsOf =
    "SELECT OBJECT_SCHEMA_NAME(c.object_id, DB_ID({db_name})), "
    "OBJECT_NAME(c.object_id, DB_ID({db_name})), c.name, TYPE_NAME(c.system_type_id), "
    "CAST(c.max_length AS int), CAST(c.precision AS int), CAST(c.scale AS int), "
    "c.is_nullable + 2 * c.is_identity + 4 * c.is_computed, CAST(k.key_ordinal AS int), "
    "CAST(COLLATIONPROPERTY(c.collation_name, 'CodePage') AS int), d.definition, "
    "CAST(n.seed_value AS bigint), CAST(n.increment_value AS bigint) FROM {db}sys.columns c "
    "LEFT JOIN (SELECT i.object_id, x.column_id, x.key_ordinal FROM {db}sys.indexes i "
    "JOIN {db}sys.index_columns x ON x.object_id = i.object_id AND x.index_id = i.index_id "
    "WHERE i.is_primary_key = 1) k ON k.object_id = c.object_id AND k.column_id = c.column_id "
    "LEFT JOIN {db}sys.default_constraints d "
    "ON d.parent_object_id = c.object_id AND d.parent_column_id = c.column_id "
    "LEFT JOIN {db}sys.identity_columns n "
    "ON n.object_id = c.object_id AND n.column_id = c.column_id "
    "WHERE c.object_id = OBJECT_ID({name}) ORDER BY c.column_id";

std::string Filled(std::string text, const std::string& marker, const std::string& value) {
  for (std::size_t at = 0; (at = text.find(marker, at)) != std::string::npos; at += value.size())
    text.replace(at, marker.size(), value);
  return text;
}

/// A script may have told the server to answer no more than some rows, which nobody can ask for.
constexpr const char* kAllRows = "SET ROWCOUNT 0 ";

bool IsOneOf(const std::string& type, std::initializer_list<const char*> types) {
  return std::ranges::find(types, type) != types.end();
}

/// A column's type as the server describes it.
struct TypeFacts {
  std::string name;
  int bytes = 0, precision = 0, scale = 0, codePage = 0;
};

void SetText(ado::Column& column, const TypeFacts& type) {
  constexpr int kUtf8 = 65001;
  const bool isWide = type.name.starts_with('n');
  column.unit = isWide                   ? ado::TextUnit::Utf16
                : type.codePage == kUtf8 ? ado::TextUnit::Utf8
                                         : ado::TextUnit::Characters;
  column.codePage = isWide ? 0 : type.codePage;
  column.size = type.bytes < 0 ? 0 : type.bytes / (isWide ? 2 : 1);
  column.declaredType += type.bytes < 0 ? "(max)" : "(" + std::to_string(column.size) + ")";
}

void SetType(ado::Column& column, const TypeFacts& type) {
  using enum ado::ColumnKind;
  const std::string& name = type.name;
  column.declaredType = name;
  if (IsOneOf(name, {"tinyint", "smallint", "int", "bigint"})) {
    column.kind = Integer, column.size = type.bytes;
  } else if (name == "bit") {
    column.kind = Boolean;
  } else if (IsOneOf(name, {"real", "float"})) {
    column.kind = Real;
  } else if (IsOneOf(name, {"decimal", "numeric", "money", "smallmoney"})) {
    column.kind = Decimal, column.precision = type.precision, column.scale = type.scale;
    if (!name.ends_with("money"))
      column.declaredType +=
          "(" + std::to_string(type.precision) + ", " + std::to_string(type.scale) + ")";
  } else if (name == "date") {
    column.kind = Date;
  } else if (IsOneOf(name, {"datetime", "smalldatetime", "datetime2"})) {
    column.kind = DateTime;
    if (name == "datetime2")
      column.declaredType += "(" + std::to_string(column.scale = type.scale) + ")";
  } else if (IsOneOf(name, {"time", "datetimeoffset"})) {
    column.declaredType += "(" + std::to_string(type.scale) + ")";
  } else if (IsOneOf(name, {"binary", "varbinary", "image", "timestamp", "rowversion"})) {
    column.kind = Binary;
    if (name.ends_with("binary"))
      column.declaredType += type.bytes < 0 ? "(max)" : "(" + std::to_string(type.bytes) + ")";
  } else if (IsOneOf(name, {"char", "varchar", "nchar", "nvarchar"})) {
    SetText(column, type);
  }
}

ado::Column ColumnOfSqlServer(const OdbcStatement& row) {
  ado::Column column{
      .name = TextAt(row, Field::Name), .declaredType = {}, .sql = ado::SqlKind::SqlServer};
  SetType(column,
          {TextAt(row, Field::Type), NumberAt(row, Field::Length), NumberAt(row, Field::Precision),
           NumberAt(row, Field::Scale), NumberAt(row, Field::Page)});
  const int flags = NumberAt(row, Field::Flags);
  column.nullable = flags & ColumnFlag::Nullable;
  column.isIdentity = flags & ColumnFlag::Identity;
  column.isComputed =
      flags & ColumnFlag::Computed || IsOneOf(column.declaredType, {"timestamp", "rowversion"});
  column.keyPosition = NumberAt(row, Field::Key);
  column.defaultText = TextAt(row, Field::Default);
  if (column.isIdentity)
    column.seed = LongAt(row, Field::Seed), column.increment = LongAt(row, Field::Increment);
  return column;
}

std::string TextAttribute(void* statement, SQLUSMALLINT column, SQLUSMALLINT attribute) {
  std::u16string text(256, u'\0');
  SQLSMALLINT bytes = 0;
  if (!SQL_SUCCEEDED(SQLColAttributeW(statement, column, attribute, text.data(),
                                      static_cast<SQLSMALLINT>(text.size() * 2), &bytes, nullptr)))
    return "";
  return FromUtf16({text.data(), std::min<std::size_t>(static_cast<std::size_t>(bytes) / 2, 255)});
}

int NumberAttribute(void* statement, SQLUSMALLINT column, SQLUSMALLINT attribute) {
  SQLLEN number = 0;
  SQLColAttributeW(statement, column, attribute, nullptr, 0, nullptr, &number);
  return static_cast<int>(number);
}

ado::Column DescribedColumn(void* statement, SQLUSMALLINT place) {
  const auto number = [&](SQLUSMALLINT what) { return NumberAttribute(statement, place, what); };
  TypeFacts type{TextAttribute(statement, place, SQL_DESC_TYPE_NAME), number(SQL_DESC_OCTET_LENGTH),
                 number(SQL_DESC_PRECISION), number(SQL_DESC_SCALE)};
  if (type.name.ends_with("char"))  // what the driver makes of a text has another length
    type.bytes = number(SQL_DESC_LENGTH) * (type.name.starts_with('n') ? 2 : 1);
  if (type.bytes > kLongestLimited || type.bytes <= 0) type.bytes = -1;
  ado::Column column{.name = TextAttribute(statement, place, SQL_DESC_NAME),
                     .declaredType = {},
                     .sql = ado::SqlKind::SqlServer};
  SetType(column, type);
  column.nullable = number(SQL_DESC_NULLABLE) != SQL_NO_NULLS;
  column.isIdentity = number(SQL_DESC_AUTO_UNIQUE_VALUE) != 0;
  return column;
}

/// A temporary table's own name is known to its session alone: what a query of it answers tells the
/// columns.
OdbcTable FindTemporaryTable(OdbcSession& session, const TableName& name) {
  OdbcTable table{"", "", name.table, {}};
  const std::string quoted = QuotedName(name.table);
  OdbcStatement query(session);
  query.Execute("IF OBJECT_ID(N" + QuotedText("tempdb.." + quoted) +
                ") IS NOT NULL SELECT TOP 0 * FROM " + quoted);
  for (int place = 1; place <= query.ColumnCount(); ++place)
    table.columns.push_back(DescribedColumn(query.Handle(), static_cast<SQLUSMALLINT>(place)));
  return table;
}

}  // namespace

OdbcTable FindSqlServerTable(OdbcSession& session, const TableName& name) {
  if (name.table.starts_with('#')) return FindTemporaryTable(session, name);
  const std::string database = name.database.empty() ? "" : QuotedName(name.database) + ".";
  const std::string schema = name.schema.empty() ? "" : QuotedName(name.schema);
  const std::string quoted =
      database + schema + (database + schema == "" ? "" : ".") + QuotedName(name.table);
  const std::string databaseText = name.database.empty() ? "" : "N" + QuotedText(name.database);
  const std::string question =
      Filled(Filled(kColumnsOf, "{db}", database), "{db_name}", databaseText);
  OdbcStatement query(session);
  query.Execute(kAllRows + Filled(question, "{name}", "N" + QuotedText(quoted)));
  OdbcTable table{name.database, "", "", {}};
  while (query.Step()) {
    table.schema = TextAt(query, Field::Schema);
    table.name = TextAt(query, Field::Table);
    table.columns.push_back(ColumnOfSqlServer(query));
  }
  return table;
}

}  // namespace torvik
