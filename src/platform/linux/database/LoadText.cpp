#include "platform/linux/database/LoadText.h"

#include "platform/linux/database/SqlNames.h"

namespace torvik {

std::string IntoText(const std::string& table, const std::vector<ado::Column>& columns) {
  std::string names;
  for (const ado::Column& column : columns)
    names += (names.empty() ? "" : ", ") + QuotedName(column.name);
  return "INTO " + table + " (" + names + ")";
}

std::string InsertText(const std::string& table, const std::vector<ado::Column>& columns,
                       const std::function<std::string(const ado::Column&)>& marker) {
  std::string values;
  for (const ado::Column& column : columns) values += (values.empty() ? "" : ", ") + marker(column);
  return "INSERT " + IntoText(table, columns) + " VALUES (" + values + ")";
}

std::string WidthProblem(const ado::LoadRows& rows, std::size_t columns) {
  if (rows.width == columns) return "";
  return "a row has " + std::to_string(rows.width) + " values for " + std::to_string(columns) +
         " columns";
}

}  // namespace torvik
