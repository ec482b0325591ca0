#include "platform/linux/database/SqliteColumns.h"

#include <algorithm>
#include <charconv>

#include "platform/Text.h"

namespace torvik {
namespace {

using enum ado::ColumnKind;

/// The types by their first word.
constexpr struct {
  std::string_view word;
  ado::ColumnKind kind;
  int size = 0, precision = 0, scale = 0;
} kTypes[] = {
    {"INTEGER", Integer, 8},
    {"BIGINT", Integer, 8},
    {"INT8", Integer, 8},
    {"INT", Integer, 4},
    {"INT4", Integer, 4},
    {"MEDIUMINT", Integer, 4},
    {"SMALLINT", Integer, 2},
    {"INT2", Integer, 2},
    {"TINYINT", Integer, 1},
    {"DECIMAL", Decimal},
    {"DEC", Decimal},
    {"NUMERIC", Decimal},
    {"MONEY", Decimal, 0, 19, 4},
    {"SMALLMONEY", Decimal, 0, 10, 4},
    {"REAL", Real},
    {"FLOAT", Real},
    {"DOUBLE", Real},
    {"BOOLEAN", Boolean},
    {"BOOL", Boolean},
    {"BIT", Boolean},
    {"DATE", Date},
    {"DATETIME", DateTime},
    {"DATETIME2", DateTime},
    {"SMALLDATETIME", DateTime},
    {"TIMESTAMP", DateTime},
    {"TIME", Text},
    {"DATETIMEOFFSET", Text},
    {"BLOB", Binary},
    {"IMAGE", Binary},
    {"BINARY", Binary},
    {"VARBINARY", Binary},
};

/// The whole number that `text` begins with, taken off it with what stands before; 0 without one.
int TakeNumber(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_of("0123456789"), text.size()));
  int number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

}  // namespace

ado::Column ColumnOfType(std::string_view declaredType) {
  const std::size_t bracket = std::min(declaredType.find('('), declaredType.size());
  std::string_view arguments = declaredType.substr(bracket);
  const std::string_view word = declaredType.substr(0, declaredType.find_first_of(" ("));
  ado::Column column{.name = {}, .declaredType = std::string(declaredType)};
  const auto type = std::ranges::find_if(
      kTypes, [&](const auto& one) { return EqualsIgnoringCase(one.word, word); });
  if (type == std::end(kTypes)) {
    if (EqualsIgnoringCase(word, "NVARCHAR") || EqualsIgnoringCase(word, "NCHAR"))
      column.unit = ado::TextUnit::Utf16;
    column.size = TakeNumber(arguments);
    return column;
  }
  column.kind = type->kind;
  column.size = type->size;
  column.precision = type->precision;
  column.scale = type->scale;
  if (column.kind == Decimal && !arguments.empty()) {
    column.precision = TakeNumber(arguments);
    column.scale = TakeNumber(arguments);
  }
  return column;
}

std::string SqliteTypeOf(const ado::Column& column) {
  switch (column.kind) {
    case Text:
      return column.size > 0 ? "VARCHAR(" + std::to_string(column.size) + ")" : std::string("TEXT");
    case Integer:
      return column.size > 0 && column.size <= 2 ? "SMALLINT" : column.size == 4 ? "INT" : "BIGINT";
    case Decimal:
      if (column.precision == 0) return "DECIMAL";
      return "DECIMAL(" + std::to_string(column.precision) + ", " + std::to_string(column.scale) +
             ")";
    case Real: return "DOUBLE PRECISION";
    case Boolean: return "BOOLEAN";
    case Date: return "DATE";
    case DateTime: return "DATETIME";
    case Binary: return "BLOB";
  }
  return "TEXT";
}

}  // namespace torvik
