#include "platform/linux/sqlite/SqliteStatement.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteIdentity.h"
#include "platform/linux/sqlite/SqliteSession.h"

namespace torvik {
namespace {

struct Binder {
  sqlite3_stmt* statement;
  int position;

  int operator()(const ado::Null&) const { return sqlite3_bind_null(statement, position); }
  int operator()(std::int64_t number) const {
    return sqlite3_bind_int64(statement, position, number);
  }
  int operator()(double number) const { return sqlite3_bind_double(statement, position, number); }
  int operator()(const std::string& text) const {
    return sqlite3_bind_text64(statement, position, text.data(), text.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
  }
  int operator()(const ado::Blob& blob) const {
    return sqlite3_bind_blob64(statement, position, blob.bytes.data(), blob.bytes.size(),
                               SQLITE_TRANSIENT);
  }
};

bool Begins(std::string_view sql, std::string_view word) {
  return EqualsIgnoringCase(sql.substr(SkipBlanks(sql, 0)).substr(0, word.size()), word);
}

/// Dropping a table that others refer to deletes its rows first, and SQLite counts those.
bool CountsRows(std::string_view sql) {
  const std::string_view words[] = {"INSERT", "UPDATE", "DELETE", "REPLACE", "WITH"};
  return std::ranges::any_of(words, [&](std::string_view word) { return Begins(sql, word); });
}

}  // namespace

SqliteStatement::SqliteStatement(SqliteSession& session, std::string_view sql, std::string place)
    : session_(session), place_(std::move(place)) {
  session_.BeginStatement();
  changesBefore_ = sqlite3_total_changes64(session_.Handle());
  const char* rest = nullptr;
  if (sqlite3_prepare_v2(session_.Handle(), sql.data(), static_cast<int>(sql.size()), &handle_,
                         &rest) != SQLITE_OK)
    throw session_.Failure(place_);
  length_ = static_cast<std::size_t>(rest - sql.data());
}

SqliteStatement::~SqliteStatement() {
  sqlite3_finalize(handle_);
}

void SqliteStatement::Bind(int position, const ado::Value& value) {
  if (std::visit(Binder{handle_, position}, value) != SQLITE_OK) throw session_.Failure(place_);
}

bool SqliteStatement::Step() {
  if (handle_ == nullptr) return false;
  const int code = sqlite3_step(handle_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) throw session_.Failure(place_);
  if (code == SQLITE_DONE && Begins(sqlite3_sql(handle_), "CREATE"))
    BeginNumbering(session_, sqlite3_sql(handle_));
  return code == SQLITE_ROW;
}

std::int64_t SqliteStatement::ChangedRows() const {
  // The handle's count stays that of an earlier statement when this one changed nothing.
  const char* sql = sqlite3_sql(handle_);
  const bool changed = sql != nullptr && CountsRows(sql) &&
                       sqlite3_total_changes64(session_.Handle()) != changesBefore_;
  return changed ? sqlite3_changes64(session_.Handle()) : 0;
}

int SqliteStatement::ParameterCount() const {
  return sqlite3_bind_parameter_count(handle_);
}

int SqliteStatement::ColumnCount() const {
  return sqlite3_column_count(handle_);
}

std::string SqliteStatement::ColumnName(int column) const {
  return sqlite3_column_name(handle_, column);
}

ado::Value SqliteStatement::Column(int column) const {
  const auto bytes = [&](const void* data) {
    return std::string(static_cast<const char*>(data),
                       static_cast<std::size_t>(sqlite3_column_bytes(handle_, column)));
  };
  switch (sqlite3_column_type(handle_, column)) {
    case SQLITE_INTEGER: return sqlite3_column_int64(handle_, column);
    case SQLITE_FLOAT: return sqlite3_column_double(handle_, column);
    case SQLITE_TEXT: return bytes(sqlite3_column_text(handle_, column));
    case SQLITE_BLOB: {
      const void* data = sqlite3_column_blob(handle_, column);
      return ado::Blob{data ? bytes(data) : ""};
    }
    default: return ado::Null{};
  }
}

std::optional<SqliteStatement::Origin> SqliteStatement::ColumnOrigin(int column) const {
  const char* table = sqlite3_column_table_name(handle_, column);
  if (table == nullptr) return {};
  return Origin{sqlite3_column_database_name(handle_, column), table,
                sqlite3_column_origin_name(handle_, column)};
}

}  // namespace torvik
