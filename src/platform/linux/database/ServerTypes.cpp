#include "platform/linux/database/ServerTypes.h"

#include <algorithm>
#include <string_view>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using ado::SqlKind;

/// One type on each server: "#" stands for the sizes in brackets. An embedded server's name that is
/// its own word for another type tells nothing: `isTold` is false then.
constexpr struct {
  std::string_view sqlServer, postgreSql, embedded;
  bool isTold = true;
} kNamedTypes[] = {{"tinyint", "smallint", "TINYINT"},
                   {"money", "numeric(19, 4)", "MONEY"},
                   {"smallmoney", "numeric(10, 4)", "SMALLMONEY"},
                   {"real", "real", "REAL", false},
                   {"datetime", "timestamp(3)", "DATETIME", false},
                   {"smalldatetime", "timestamp(0)", "SMALLDATETIME"},
                   {"datetime2#", "timestamp#", "DATETIME2#", false},
                   {"time#", "time#", "TIME#"},
                   {"datetimeoffset#", "timestamptz#", "DATETIMEOFFSET#"},
                   {"uniqueidentifier", "uuid", "UNIQUEIDENTIFIER"},
                   {"xml", "xml", "XML"},
                   {"char#", "char#", "CHAR#", false},
                   {"nchar#", "char#", "NCHAR#", false},
                   {"nvarchar#", "varchar#", "NVARCHAR#", false},
                   {"binary#", "bytea", "BINARY#", false},
                   {"varbinary#", "bytea", "VARBINARY#", false},
                   {"timestamp", "bytea", "BINARY(8)", false},
                   {"rowversion", "bytea", "BINARY(8)", false}};

/// PostgreSQL's catalogue has names of its own.
constexpr struct {
  std::string_view postgreSql, sqlServer;
} kOfPostgreSql[] = {{"float4", "real"},           {"time", "time#"},
                     {"timestamp", "datetime2#"},  {"timestamptz", "datetimeoffset#"},
                     {"uuid", "uniqueidentifier"}, {"xml", "xml"},
                     {"bpchar", "nchar#"}};

std::string NameOf(const ado::Column& column) {
  return LowerAscii(column.declaredType.substr(0, column.declaredType.find('(')));
}

std::string SizesOf(const ado::Column& column) {
  return column.declaredType.substr(
      std::min(column.declaredType.find('('), column.declaredType.size()));
}

bool IsNamed(std::string_view type, std::string_view name) {
  return type == name || (type.ends_with('#') && type.substr(0, type.size() - 1) == name);
}

/// The row of kNamedTypes; null when the column's type is none that has one.
auto RowOf(const ado::Column& column) -> decltype(std::begin(kNamedTypes)) {
  std::string name = NameOf(column);
  if (column.sql == SqlKind::PostgreSql) {
    const auto known =
        std::ranges::find(kOfPostgreSql, name, [](const auto& one) { return one.postgreSql; });
    if (known == std::end(kOfPostgreSql)) return nullptr;
    return std::ranges::find(kNamedTypes, known->sqlServer,
                             [](const auto& one) { return one.sqlServer; });
  }
  if (name == "uuid") name = "uniqueidentifier";
  const auto row = std::ranges::find_if(
      kNamedTypes, [&](const auto& one) { return IsNamed(one.sqlServer, name); });
  const bool isIts =
      row != std::end(kNamedTypes) && (column.sql == SqlKind::SqlServer || row->isTold);
  return isIts ? row : nullptr;
}

/// PostgreSQL keeps microseconds.
ServerType ForPostgreSql(std::string_view type, const ado::Column& column) {
  constexpr int kMostDigits = 6;
  std::string name(type.substr(0, type.size() - type.ends_with('#')));
  std::string loss;
  if (name == "timestamptz") loss = "its moments are kept, their offsets are not";
  if (!type.ends_with('#')) return {name, loss};
  const std::string sizes = SizesOf(column);
  const bool isTime = name.starts_with("time");
  const auto digits =
      sizes.size() > 2 ? NumberOf<int>(sizes.substr(1, sizes.size() - 2)) : std::nullopt;
  if (!isTime || !digits || *digits <= kMostDigits) return {name + sizes, loss};
  return {name + "(" + std::to_string(kMostDigits) + ")",
          loss.empty() ? "its times are kept to a millionth of a second" : loss};
}

}  // namespace

ServerType TypeByName(SqlKind server, const ado::Column& column) {
  if (column.sql == server && server != SqlKind::Other) return {column.declaredType, ""};
  const auto* const row = RowOf(column);
  const std::string sizes = SizesOf(column);
  if (row == nullptr || EqualsIgnoringCase(sizes, "(max)")) return {};
  constexpr int kLongestCharacters = 4000;  // of SQL Server, in a column with a length
  if (row->sqlServer == "nchar#" && server == SqlKind::SqlServer &&
      (column.size == 0 || column.size > kLongestCharacters))
    return {};
  if (server == SqlKind::PostgreSql) return ForPostgreSql(row->postgreSql, column);
  std::string name(server == SqlKind::SqlServer ? row->sqlServer : row->embedded);
  if (name.ends_with('#')) name.replace(name.size() - 1, 1, sizes);
  return {name, ""};
}

std::string LossOfKind(const ado::Column& column, const std::string& type) {
  if (column.sql == SqlKind::Other || column.kind != ado::ColumnKind::Text) return "";
  const std::string name = NameOf(column);
  const bool isText =
      name.empty() ||
      std::ranges::any_of(
          std::initializer_list<const char*>{"char", "text", "clob", "name", "string"},
          [&](const char* word) { return name.find(word) != std::string::npos; });
  return isText ? "" : "its type " + column.declaredType + " becomes " + type;
}

}  // namespace torvik
