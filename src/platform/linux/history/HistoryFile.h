#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace torvik {

struct CloseHistory {
  void operator()(sqlite3* handle) const;
};
using HistoryHandle = std::unique_ptr<sqlite3, CloseHistory>;

/// How long a writer may still wait for other ones, and how much of it is kept for later.
struct HistoryPatience {
  std::chrono::milliseconds left{}, kept{};
};

/// Opens the history for writing and makes it when there is none, with its tables. A damaged one is
/// moved aside, which `note` tells, and begun anew. Each wait for other writers is taken from
/// `patience`, which must outlive the handle. Throws PlatformError; what a damaged one meets when
/// it is written to is thrown too, and mended by MendHistory.
HistoryHandle OpenHistory(const std::string& path, std::string& note, HistoryPatience& patience);

/// Brings into the file what lies in the log beside it, when that is `bytes` or more: it takes the
/// disk's time, and the next writer reads the log whole. What stands in the way is waited for as
/// the handle's patience allows; a failure is another time's work.
void ShortenLog(sqlite3* handle, const std::string& path, std::uintmax_t bytes);

/// Moves the history aside if it is damaged, as a failed write may show; `note` tells then.
void MendHistory(const std::string& path, std::string& note);

/// Opens it for reading; null when there is none. Where its directory allows no writing it is read
/// as it lies on the disk. Throws PlatformError.
HistoryHandle ReadHistory(const std::string& path);

/// Of its tables: 1; since 2 with the variables of runs, since 3 with what is in the shared
/// history. 0 while they are made.
std::int64_t HistoryVersion(sqlite3* handle);

/// A prepared statement, finished when this goes.
class HistoryStatement {
 public:
  /// Throws PlatformError in SQLite's words.
  HistoryStatement(sqlite3* handle, const char* sql);
  ~HistoryStatement() { sqlite3_finalize(statement_); }
  HistoryStatement(const HistoryStatement&) = delete;
  HistoryStatement& operator=(const HistoryStatement&) = delete;

  /// Binds the next parameter, from the first on.
  HistoryStatement& Bind(std::int64_t value);
  HistoryStatement& Bind(const std::string& value);
  HistoryStatement& BindNull();

  /// True for a row. Throws PlatformError.
  bool Step();
  /// Runs it to its end; it can be bound anew.
  void Run();

  /// The next column of the row, from the first on.
  std::int64_t Integer();
  std::string Text();
  bool IsNull() const { return sqlite3_column_type(statement_, column_) == SQLITE_NULL; }
  void Skip() { ++column_; }

 private:
  sqlite3* const handle_;
  sqlite3_stmt* statement_ = nullptr;
  int parameter_ = 0, column_ = 0;
};

}  // namespace torvik
