// Loads the file of bench/generate-rows into the table of bench/pump by nothing but splitting lines
// on one thread and INSERT ... SELECT from a virtual table on another: what no loader that hands
// SQLite values can be much faster than. It checks nothing.
//
// usage: near-limit FILE DATABASE --journal wal|off

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr int kColumns = 10, kWholeColumns = 3, kNumberColumns = 5;
constexpr std::size_t kRowsOfBatch = 8000, kBatchesAhead = 3;

constexpr const char* kTable = R"(CREATE TABLE IF NOT EXISTS sale (
  id INTEGER, customer INTEGER, quantity INTEGER, amount DECIMAL(12,2), rate DOUBLE PRECISION,
  sold_on DATE, changed_at DATETIME, code VARCHAR(8), name VARCHAR(60), note VARCHAR(60)))";

[[noreturn]] void Fail(const std::string& reason) {
  std::fprintf(stderr, "near-limit: %s\n", reason.c_str());
  std::exit(1);
}

void Run(sqlite3* database, const std::string& sql) {
  if (sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
    Fail(sql + ": " + sqlite3_errmsg(database));
}

std::string_view Map(const char* path) {
  const int file = open(path, O_RDONLY);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) Fail(std::string("cannot read ") + path);
  const auto size = static_cast<std::size_t>(status.st_size);
  void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  if (data == MAP_FAILED) Fail(std::string("cannot map ") + path);
  madvise(data, size, MADV_SEQUENTIAL);
  return {static_cast<const char*>(data), size};
}

struct Batch {
  std::vector<std::string_view> fields;
  std::deque<std::string> unquoted;
};

/// The field that begins at `at`, which goes on behind the field and its delimiter.
std::string_view TakeField(std::string_view text, std::size_t& at, Batch& batch) {
  if (text[at] != '"') {
    const std::size_t begin = at;
    while (text[at] != ',' && text[at] != '\n') ++at;
    return text.substr(begin, at++ - begin);
  }
  std::string& unquoted = batch.unquoted.emplace_back();
  for (++at;; ++at) {
    const std::size_t quote = text.find('"', at);
    unquoted.append(text.substr(at, quote - at));
    at = quote + 1;
    if (text[at] != '"') break;
    unquoted += '"';
  }
  ++at;
  return unquoted;
}

/// Batches on their way from the thread that makes them to the one that loads them; null ends.
class Queue {
 public:
  void Put(std::unique_ptr<Batch> batch) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return batches_.size() < kBatchesAhead; });
    batches_.push_back(std::move(batch));
    changed_.notify_all();
  }
  std::unique_ptr<Batch> Take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !batches_.empty(); });
    auto batch = std::move(batches_.front());
    batches_.pop_front();
    changed_.notify_all();
    return batch;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<Batch>> batches_;
};

void Split(std::string_view text, Queue& queue) {
  for (std::size_t at = text.find('\n') + 1; at < text.size();) {
    auto batch = std::make_unique<Batch>();
    batch->fields.reserve(kRowsOfBatch * kColumns);
    for (std::size_t row = 0; row < kRowsOfBatch && at < text.size(); ++row)
      for (int column = 0; column < kColumns; ++column)
        batch->fields.push_back(TakeField(text, at, *batch));
    queue.Put(std::move(batch));
  }
  queue.Put(nullptr);
}

/// The batch at hand as a table; one statement reads it.
struct Rows {
  const Batch* batch = nullptr;
  std::size_t at = 0;
};
struct RowsTable : sqlite3_vtab {
  Rows* rows = nullptr;
};
Rows& RowsOf(sqlite3_vtab_cursor* cursor) {
  return *static_cast<RowsTable*>(cursor->pVtab)->rows;
}

int Connect(sqlite3* database, void* rows, int, const char* const*, sqlite3_vtab** table, char**) {
  auto* made = new RowsTable();
  made->rows = static_cast<Rows*>(rows);
  *table = made;
  return sqlite3_declare_vtab(database, "CREATE TABLE x (a, b, c, d, e, f, g, h, i, j)");
}
int Disconnect(sqlite3_vtab* table) {
  delete static_cast<RowsTable*>(table);
  return SQLITE_OK;
}
int BestIndex(sqlite3_vtab*, sqlite3_index_info*) {
  return SQLITE_OK;
}
int Open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new sqlite3_vtab_cursor();
  return SQLITE_OK;
}
int Close(sqlite3_vtab_cursor* cursor) {
  delete cursor;
  return SQLITE_OK;
}
int Filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value**) {
  RowsOf(cursor).at = 0;
  return SQLITE_OK;
}
int Next(sqlite3_vtab_cursor* cursor) {
  RowsOf(cursor).at += kColumns;
  return SQLITE_OK;
}
int IsAtEnd(sqlite3_vtab_cursor* cursor) {
  return RowsOf(cursor).at >= RowsOf(cursor).batch->fields.size();
}
int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
  *id = static_cast<sqlite3_int64>(RowsOf(cursor).at);
  return SQLITE_OK;
}
int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  const Rows& rows = RowsOf(cursor);
  const std::string_view field = rows.batch->fields[rows.at + static_cast<std::size_t>(column)];
  const char* end = field.data() + field.size();
  if (field.empty()) {
    sqlite3_result_null(context);
  } else if (column < kWholeColumns) {
    long long number = 0;
    std::from_chars(field.data(), end, number);
    sqlite3_result_int64(context, number);
  } else if (column < kNumberColumns) {
    double number = 0;
    std::from_chars(field.data(), end, number);
    sqlite3_result_double(context, number);
  } else {
    sqlite3_result_text64(context, field.data(), field.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  return SQLITE_OK;
}

constexpr sqlite3_module kModule = {.xConnect = Connect,
                                    .xBestIndex = BestIndex,
                                    .xDisconnect = Disconnect,
                                    .xOpen = Open,
                                    .xClose = Close,
                                    .xFilter = Filter,
                                    .xNext = Next,
                                    .xEof = IsAtEnd,
                                    .xColumn = Column,
                                    .xRowid = RowId};

void Load(sqlite3* database, std::string_view text) {
  Rows rows;
  sqlite3_create_module_v2(database, "batch", &kModule, &rows, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(database, "INSERT INTO sale SELECT * FROM batch", -1, &insert, nullptr);
  Queue queue;
  std::thread splitter([&] { Split(text, queue); });
  while (const auto batch = queue.Take()) {
    rows.batch = batch.get();
    if (sqlite3_step(insert) != SQLITE_DONE) Fail(sqlite3_errmsg(database));
    sqlite3_reset(insert);
  }
  splitter.join();
  sqlite3_finalize(insert);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5 || std::strcmp(arguments[3], "--journal") != 0)
    Fail("usage: near-limit FILE DATABASE --journal wal|off");
  sqlite3* database = nullptr;
  if (sqlite3_open(arguments[2], &database) != SQLITE_OK) Fail(sqlite3_errmsg(database));
  Run(database, std::string("PRAGMA journal_mode = ") + arguments[4] +
                    "; PRAGMA synchronous = FULL; PRAGMA cache_size = -32768");
  Run(database, kTable);
  Run(database, "BEGIN IMMEDIATE");
  Load(database, Map(arguments[1]));
  Run(database, "COMMIT");
  sqlite3_close(database);
  return 0;
}
