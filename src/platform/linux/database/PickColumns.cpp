#include "platform/linux/database/PickColumns.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik {

std::vector<ado::Column> PickColumns(const std::vector<ado::Column>& columns,
                                     std::span<const std::string> names, const std::string& table,
                                     const RefusalFactory& refuse) {
  if (columns.empty())
    throw refuse("there is no table " + table +
                 "; tables are named TABLE, dbo.TABLE or DATABASE.dbo.TABLE");
  std::vector<ado::Column> picked;
  for (const std::string& name : names) {
    const auto found = std::ranges::find_if(
        columns, [&](const ado::Column& column) { return EqualsIgnoringCase(column.name, name); });
    if (found == columns.end())
      throw refuse("the table " + table + " has no column \"" + name + "\"");
    picked.push_back(*found);
  }
  return picked;
}

}  // namespace torvik
