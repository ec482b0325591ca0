#include "platform/linux/odbc/OdbcTypes.h"

namespace torvik {
namespace {

/// The types of one kind of server. An "N" stands for the size.
struct Types {
  const char *text, *longText, *keyText;
  int longestText;
  const char *smallInteger, *integer, *bigInteger, *decimal, *anyDecimal;
  const char *real, *truth, *date, *moment, *bytes;
};

constexpr Types kSqlServer = {"nvarchar",        "nvarchar(max)", "nvarchar(450)", 4000,
                              "smallint",        "int",           "bigint",        "decimal",
                              "decimal(38, 10)", "float",         "bit",           "date",
                              "datetime2",       "varbinary(max)"};
constexpr Types kPostgreSql = {"varchar", "text",   "text",      10485760,  "smallint",
                               "integer", "bigint", "numeric",   "numeric", "double precision",
                               "boolean", "date",   "timestamp", "bytea"};
constexpr Types kOracle = {"NVARCHAR2",  "NCLOB",      "NVARCHAR2(400)", 2000,     "NUMBER(5)",
                           "NUMBER(10)", "NUMBER(19)", "NUMBER",         "NUMBER", "BINARY_DOUBLE",
                           "NUMBER(1)",  "DATE",       "TIMESTAMP",      "BLOB"};
constexpr Types kOther = {
    "VARCHAR", "VARCHAR(4000)",   "VARCHAR(255)",     4000,       "SMALLINT", "INTEGER",   "BIGINT",
    "DECIMAL", "DECIMAL(38, 10)", "DOUBLE PRECISION", "SMALLINT", "DATE",     "TIMESTAMP", "BLOB"};

const Types& TypesOf(OdbcServer server) {
  switch (server) {
    case OdbcServer::SqlServer: return kSqlServer;
    case OdbcServer::PostgreSql: return kPostgreSql;
    case OdbcServer::Oracle: return kOracle;
    case OdbcServer::Other: break;
  }
  return kOther;
}

std::string TextType(const Types& types, const ado::Column& column) {
  if (column.size > 0 && column.size <= types.longestText)
    return std::string(types.text) + "(" + std::to_string(column.size) + ")";
  return column.keyPosition > 0 ? types.keyText : types.longText;
}

}  // namespace

std::string OdbcTypeOf(OdbcServer server, const ado::Column& column) {
  const Types& types = TypesOf(server);
  using enum ado::ColumnKind;
  switch (column.kind) {
    case Text: return TextType(types, column);
    case Integer:
      return column.size > 0 && column.size <= 2 ? types.smallInteger
             : column.size == 4                  ? types.integer
                                                 : types.bigInteger;
    case Decimal:
      if (column.precision == 0) return types.anyDecimal;
      return std::string(types.decimal) + "(" + std::to_string(column.precision) + ", " +
             std::to_string(column.scale) + ")";
    case Real: return types.real;
    case Boolean: return types.truth;
    case Date: return types.date;
    case DateTime: return types.moment;
    case Binary: return types.bytes;
  }
  return types.longText;
}

}  // namespace torvik
