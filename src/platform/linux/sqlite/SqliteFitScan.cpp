#include "platform/linux/sqlite/SqliteFitScan.h"

#include <sqlite3.h>

#include <system_error>
#include <utility>

#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

/// An aggregate: it has all values of a row by one call, and a scan is one step of a statement.
constexpr const char* kFunction = "torvik_fit";

void Answer(sqlite3_context*) {}

}  // namespace

SqliteFitScan::SqliteFitScan(sqlite3* handle, std::string table, std::span<const std::string> names,
                             std::vector<SqliteFit> fits)
    : handle_(handle), table_(std::move(table)), fits_(std::move(fits)) {
  for (const std::string& name : names) call_ += (call_.empty() ? "t." : ", t.") + QuotedName(name);
  call_ = std::string(kFunction) + "(" + call_ + ")";
  sqlite3_create_function_v2(handle_, kFunction, -1, SQLITE_UTF8, this, nullptr, Look, Answer,
                             nullptr);
}

SqliteFitScan::~SqliteFitScan() {
  isStopped_ = true;
  if (all_.valid()) all_.wait();
  sqlite3_create_function_v2(handle_, kFunction, -1, SQLITE_UTF8, nullptr, nullptr, nullptr,
                             nullptr, nullptr);
}

bool SqliteFitScan::FirstRowsFit(std::int64_t rows) {
  return Scan("(SELECT * FROM " + table_ + " LIMIT " + std::to_string(rows) + ")");
}

bool SqliteFitScan::Begin() {
  try {
    all_ = std::async(std::launch::async, [this] { return Scan(table_); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

bool SqliteFitScan::HasEndedWithin(std::chrono::milliseconds time) {
  return all_.wait_for(time) == std::future_status::ready;
}

bool SqliteFitScan::Scan(const std::string& rows) {
  rows_ = 0;
  sqlite3_stmt* scan = nullptr;
  int code = sqlite3_prepare_v2(handle_, ("SELECT " + call_ + " FROM " + rows + " AS t").c_str(),
                                -1, &scan, nullptr);
  while (code == SQLITE_OK || code == SQLITE_ROW) code = sqlite3_step(scan);
  sqlite3_finalize(scan);
  return code == SQLITE_DONE;
}

void SqliteFitScan::Look(sqlite3_context* context, int, sqlite3_value** values) {
  auto& scan = *static_cast<SqliteFitScan*>(sqlite3_user_data(context));
  if (scan.isStopped_.load(std::memory_order_relaxed) || !scan.Fit(values))
    sqlite3_result_error(context, "a value does not fit", -1);
  else
    scan.rows_.store(scan.Rows() + 1, std::memory_order_relaxed);
}

bool SqliteFitScan::Fit(sqlite3_value* const* values) const {
  for (const SqliteFit& fit : fits_)
    if (!fit.Holds(*values++)) return false;
  return true;
}

}  // namespace torvik
