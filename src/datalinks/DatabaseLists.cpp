#include "datalinks/DatabaseLists.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "datalinks/DropDown.h"
#include "datalinks/FieldReaders.h"
#include "datalinks/LetterCase.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

std::int16_t PositionOf(const std::vector<std::string>& entries, const std::string& text) {
  constexpr std::size_t kLastPosition = std::numeric_limits<std::int16_t>::max();
  const std::size_t reach = std::min(entries.size(), kLastPosition + 1);
  for (std::size_t i = 0; i < reach; ++i) {
    if (EqualsInAnyCase(entries[i], text)) return static_cast<std::int16_t>(i);
  }
  return -1;
}

template <class Name>
void RefillWith(DropDown& list, ado::Recordset& rows, Name name) {
  std::vector<std::string> entries;
  try {
    for (; !rows.Eof(); rows.MoveNext()) entries.push_back(TextOf(name(rows)));
  } catch (const PlatformError&) {
    list.Refill(std::move(entries), -1);
    throw;
  }
  const int shownBefore = PositionOf(entries, list.ShownText());
  list.Refill(std::move(entries), shownBefore);
  rows.Close();
}

}  // namespace

void ListSQLDatabases(ado::Connection& connection, DropDown& list) {
  const auto rows = connection.OpenRecordset(
      "SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name", {});
  RefillWith(list, *rows, [](const ado::Recordset& row) { return row.Field(0); });
}

void ListOracleSchemas(ado::Connection& connection, DropDown& list) {
  const auto rows = connection.OpenSchema(ado::SchemaQuery::Schemata, {});
  RefillWith(list, *rows, [](const ado::Recordset& row) { return row.Field("SCHEMA_NAME"); });
}

std::int16_t SelectComboEntry(const DropDown& list, const std::string& text) {
  return PositionOf(list.Entries(), text);
}

}  // namespace torvik
