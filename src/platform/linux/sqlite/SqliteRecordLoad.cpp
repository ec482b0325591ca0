#include "platform/linux/sqlite/SqliteRecordLoad.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteLoadTable.h"
#include "platform/linux/sqlite/SqliteSession.h"

namespace torvik {
namespace {

/// The table's columns, each with the place that its value has in the rows; nothing when one has
/// none.
std::optional<std::vector<SqliteRecord::Column>> PlacesOf(const SqliteLoadTable& table,
                                                          const std::vector<ado::Column>& given) {
  std::vector<SqliteRecord::Column> places;
  for (const SqliteLoadTable::Column& column : table.columns) {
    const auto value = std::ranges::find_if(
        given, [&](const ado::Column& one) { return EqualsIgnoringCase(one.name, column.name); });
    if (value == given.end()) return {};
    places.push_back({static_cast<std::size_t>(value - given.begin()), SqliteStorageOf(value->kind),
                      AffinityOf(column.declaredType), column.isNullable});
  }
  return places;
}

std::string InsertSql(const SqliteLoadTable& table, const SqliteRowsFile& file) {
  return "INSERT INTO " + QuotedName(table.schema) + "." + QuotedName(table.name) +
         " SELECT * FROM " + file.Name();
}

}  // namespace

bool CopiesRecords(sqlite3* handle, const std::string& insert) {
  sqlite3_stmt* program = nullptr;
  int code = sqlite3_prepare_v2(handle, ("EXPLAIN " + insert).c_str(), -1, &program, nullptr);
  bool copies = code == SQLITE_OK;
  while (copies && (code = sqlite3_step(program)) == SQLITE_ROW) {
    const auto* instruction = reinterpret_cast<const char*>(sqlite3_column_text(program, 1));
    copies = instruction != nullptr && std::string_view(instruction) != "MakeRecord";
  }
  sqlite3_finalize(program);
  return copies && code == SQLITE_DONE;
}

std::unique_ptr<SqliteRecordLoad> SqliteRecordLoad::Open(std::shared_ptr<SqliteSession> session,
                                                         const SqliteLoadTable& table,
                                                         const std::vector<ado::Column>& columns) {
  if (table.plainText.empty() || !session->KeepsUtf8()) return nullptr;
  auto places = PlacesOf(table, columns);
  if (!places) return nullptr;
  auto file = session->RowsFile(table.plainText, table.name);
  if (!file || !CopiesRecords(session->Handle(), InsertSql(table, *file))) return nullptr;
  return std::unique_ptr<SqliteRecordLoad>(
      new SqliteRecordLoad(std::move(session), std::move(file), table, std::move(*places)));
}

SqliteRecordLoad::SqliteRecordLoad(std::shared_ptr<SqliteSession> session,
                                   std::shared_ptr<SqliteRowsFile> file,
                                   const SqliteLoadTable& table,
                                   std::vector<SqliteRecord::Column> columns)
    : session_(std::move(session)),
      file_(std::move(file)),
      place_("table " + table.name),
      record_(std::move(columns)),
      insert_(*session_, InsertSql(table, *file_), place_),
      last_(*session_, "SELECT max(rowid) FROM " + file_->Name(), place_) {}

bool SqliteRecordLoad::Add(std::span<const ado::LoadValue> row) {
  return record_.Take(row) && file_->Rows().Add(record_);
}

std::int64_t SqliteRecordLoad::Load() {
  file_->Rows().End();
  const bool isSeen = last_.Step() && last_.Column(0) == ado::Value(file_->Rows().LastRowId());
  while (last_.Step()) {
  }
  if (!isSeen) throw session_->Refusal(place_ + ": the server does not see the rows of a load");
  insert_.Step();
  return insert_.ChangedRows();
}

}  // namespace torvik
