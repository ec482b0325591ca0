#include "platform/linux/database/LoadText.h"

#include "platform/linux/database/SqlNames.h"

namespace torvik {

std::string InsertText(const std::string& table, const std::vector<ado::Column>& columns,
                       const std::function<std::string(const ado::Column&)>& marker) {
  std::string names, values;
  for (const ado::Column& column : columns) {
    names += (names.empty() ? "" : ", ") + QuotedName(column.name);
    values += (values.empty() ? "" : ", ") + marker(column);
  }
  return "INSERT INTO " + table + " (" + names + ") VALUES (" + values + ")";
}

std::string WidthProblem(const ado::LoadRows& rows, std::size_t columns) {
  if (rows.width == columns) return "";
  return "a row has " + std::to_string(rows.width) + " values for " + std::to_string(columns) +
         " columns";
}

}  // namespace torvik
