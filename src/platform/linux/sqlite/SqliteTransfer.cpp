#include "platform/linux/sqlite/SqliteTransfer.h"

#include <sqlite3.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteBulkRead.h"
#include "platform/linux/sqlite/SqliteFitScan.h"
#include "platform/linux/sqlite/SqliteLoadTable.h"
#include "platform/linux/sqlite/SqliteRecordLoad.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

/// A transfer cannot be ended without the transaction, so that rows are looked at before it begins:
/// what fits nowhere is seen there.
constexpr std::int64_t kFirstRows = 2000;

/// Of SQLite's own machine, which takes some five for a row.
constexpr int kInstructionsBetweenLooks = 50'000;

constexpr std::chrono::milliseconds kBetweenLooks{20};

bool Try(sqlite3* handle, const std::string& sql) {
  return sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string QuotedPlace(const std::string& schema, const std::string& table) {
  return QuotedName(schema) + "." + QuotedName(table);
}

/// What each column must hold; nothing where one's type says nothing of that.
std::optional<std::vector<SqliteFit>> FitsOf(const std::vector<ado::Column>& columns) {
  std::vector<SqliteFit> fits;
  for (const ado::Column& column : columns) {
    const auto fit = SqliteFit::Of(column);
    if (!fit) return {};
    fits.push_back(*fit);
  }
  return fits;
}

/// The file of a session's schema; empty when it is in memory.
std::string FileOf(SqliteSession& session, const std::string& schema) {
  const char* const path = sqlite3_db_filename(session.Handle(), schema.c_str());
  return path ? path : "";
}

/// What a database has at one moment, for a session that reads nothing yet.
class Snapshot {
 public:
  Snapshot(SqliteSession& session, const std::string& schema)
      : handle_(session.Handle()), schema_(schema), version_(Version()) {}
  ~Snapshot() {
    if (isHeld_) Try(handle_, "COMMIT");
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  /// Holds it for the session from now on; false when another connection has changed it since this
  /// was made.
  bool Hold() {
    isHeld_ = Try(handle_, "BEGIN");
    return isHeld_ && version_ && version_ == Version();
  }

 private:
  std::optional<std::int64_t> Version() const {
    std::optional<std::int64_t> version;
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(handle_, ("PRAGMA " + QuotedName(schema_) + ".data_version").c_str(), -1,
                       &query, nullptr);
    if (sqlite3_step(query) == SQLITE_ROW) version = sqlite3_column_int64(query, 0);
    sqlite3_finalize(query);
    return version;
  }

  sqlite3* const handle_;
  const std::string schema_;
  const std::optional<std::int64_t> version_;
  bool isHeld_ = false;
};

/// A point of a transaction to which it goes back, unless what was done since is kept.
class Point {
 public:
  explicit Point(sqlite3* handle) : handle_(handle), isSet_(Try(handle, "SAVEPOINT torvik_load")) {}
  ~Point() {
    if (!isKept_) Try(handle_, "ROLLBACK TO torvik_load");
    Try(handle_, "RELEASE torvik_load");
  }
  Point(const Point&) = delete;
  Point& operator=(const Point&) = delete;

  bool IsSet() const { return isSet_; }
  void Keep() { isKept_ = true; }

 private:
  sqlite3* const handle_;
  const bool isSet_;
  bool isKept_ = false;
};

/// Calls a function while the statements of a connection run; what it throws ends them.
class Looks {
 public:
  Looks(sqlite3* handle, std::function<void()> look) : handle_(handle), look_(std::move(look)) {
    sqlite3_progress_handler(handle_, kInstructionsBetweenLooks, Look, this);
  }
  ~Looks() { sqlite3_progress_handler(handle_, 0, nullptr, nullptr); }
  Looks(const Looks&) = delete;
  Looks& operator=(const Looks&) = delete;

  /// Throws what it has thrown.
  void Rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  static int Look(void* self) {
    auto& looks = *static_cast<Looks*>(self);
    try {
      looks.look_();
    } catch (...) {
      looks.thrown_ = std::current_exception();
    }
    return looks.thrown_ ? 1 : 0;
  }

  sqlite3* const handle_;
  const std::function<void()> look_;
  std::exception_ptr thrown_;
};

/// Runs the INSERT; nothing when it fails and leaves the transaction as it was. What has failed
/// then is met again, row by row.
std::optional<std::int64_t> Insert(SqliteSession& session, const std::string& sql,
                                   const std::string& place, const std::function<void()>& look) {
  const Looks looks(session.Handle(), look);
  try {
    SqliteStatement insert(session, sql, place);
    insert.Step();
    return insert.ChangedRows();
  } catch (const PlatformError&) {
    looks.Rethrow();
    if (sqlite3_get_autocommit(session.Handle())) throw;
    return {};
  }
}

/// True for a session that reads nothing, in a database of another file than `file`.
bool IsFreeBeside(SqliteSession& source, const std::string& schema, const std::string& file) {
  const std::string path = FileOf(source, schema);
  std::error_code error;
  return sqlite3_txn_state(source.Handle(), nullptr) == SQLITE_TXN_NONE && !path.empty() &&
         !file.empty() && !std::filesystem::equivalent(path, file, error) && !error;
}

}  // namespace

std::optional<std::int64_t> TransferSqliteRows(SqliteSession& session, const SqliteLoadTable& table,
                                               const std::vector<ado::Column>& columns,
                                               SqliteRead& rows,
                                               const std::function<void(std::int64_t)>& progress) {
  const auto& from = rows.WholeTable();
  auto fits = FitsOf(columns);
  SqliteSession& source = rows.Session();
  if (!from || rows.HasBegun() || !fits || columns.size() > SqliteFitScan::kMostColumns ||
      columns.size() != rows.Columns().size() ||
      !IsFreeBeside(source, from->schema, FileOf(session, table.schema)))
    return {};
  Snapshot snapshot(source, from->schema);
  const std::string guest = session.AttachGuest(FileOf(source, from->schema));
  Point point(session.Handle());
  if (guest.empty() || !point.IsSet()) return {};
  // Both connections must read what one moment has: this one holds it until the transaction ends.
  if (!Try(session.Handle(), "SELECT 1 FROM " + guest + ".sqlite_schema LIMIT 1") ||
      !snapshot.Hold())
    return {};
  const std::string sql = "INSERT INTO " + QuotedPlace(table.schema, table.name) +
                          " SELECT * FROM " + QuotedPlace(guest, from->table);
  if (!CopiesRecords(session.Handle(), sql)) return {};
  SqliteFitScan scan(source.Handle(), QuotedPlace(from->schema, from->table), rows.Columns(),
                     std::move(*fits));
  if (!scan.FirstRowsFit(kFirstRows) || !scan.Begin()) return {};
  const auto look = [&] { progress(scan.Rows()); };
  const auto moved = Insert(session, sql, "table " + table.name, look);
  if (!moved) return {};
  while (!scan.HasEndedWithin(kBetweenLooks)) look();
  if (!scan.AllFit() || scan.Rows() != *moved) return {};
  point.Keep();
  return moved;
}

}  // namespace torvik
