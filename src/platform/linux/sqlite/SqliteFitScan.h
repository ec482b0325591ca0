#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <span>
#include <string>
#include <vector>

#include "platform/linux/sqlite/SqliteFit.h"

struct sqlite3;
struct sqlite3_context;
struct sqlite3_value;

namespace torvik {

/// Looks at every value of a table, on a thread of its own, which has the connection for itself
/// meanwhile.
class SqliteFitScan {
 public:
  /// A function of SQLite's takes 127 values, as it is usually built.
  static constexpr std::size_t kMostColumns = 100;

  /// `table` is quoted, `names` are those of its columns, `fits` says what each must hold.
  SqliteFitScan(sqlite3* handle, std::string table, std::span<const std::string> names,
                std::vector<SqliteFit> fits);
  ~SqliteFitScan();
  SqliteFitScan(const SqliteFitScan&) = delete;
  SqliteFitScan& operator=(const SqliteFitScan&) = delete;

  /// True when all values of the first rows fit. On the calling thread.
  bool FirstRowsFit(std::int64_t rows);

  /// False where there is no thread to be had.
  bool Begin();

  /// Waits for the scan's end; false when that has not come in time.
  bool HasEndedWithin(std::chrono::milliseconds time);

  /// After its end: every value of the table fits.
  bool AllFit() { return all_.get(); }

  /// Those that were looked at so far.
  std::int64_t Rows() const { return rows_.load(std::memory_order_relaxed); }

 private:
  static void Look(sqlite3_context* context, int count, sqlite3_value** values);
  bool Fit(sqlite3_value* const* values) const;
  bool Scan(const std::string& rows);

  sqlite3* const handle_;
  const std::string table_;
  std::string call_;
  const std::vector<SqliteFit> fits_;
  std::atomic<std::int64_t> rows_ = 0;
  std::atomic<bool> isStopped_ = false;
  std::future<bool> all_;
};

}  // namespace torvik
