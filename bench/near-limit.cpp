// Loads the file of bench/generate-rows into the table of bench/pump by nothing but binding and
// stepping: what no loader of this table can be much faster than. It checks nothing.
//
// usage: near-limit FILE DATABASE --journal wal|off

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr int kColumns = 10, kWholeColumns = 3, kNumberColumns = 5;

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

/// The field that begins at `at`, which goes on behind the field and its delimiter.
std::string_view TakeField(std::string_view text, std::size_t& at, std::string& unquoted) {
  if (text[at] != '"') {
    const std::size_t begin = at;
    while (text[at] != ',' && text[at] != '\n') ++at;
    return text.substr(begin, at++ - begin);
  }
  unquoted.clear();
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

void Bind(sqlite3_stmt* insert, int column, std::string_view field) {
  const char* end = field.data() + field.size();
  if (field.empty()) {
    sqlite3_bind_null(insert, column + 1);
  } else if (column < kWholeColumns) {
    long long number = 0;
    std::from_chars(field.data(), end, number);
    sqlite3_bind_int64(insert, column + 1, number);
  } else if (column < kNumberColumns) {
    double number = 0;
    std::from_chars(field.data(), end, number);
    sqlite3_bind_double(insert, column + 1, number);
  } else {
    sqlite3_bind_text64(insert, column + 1, field.data(), field.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
}

void Load(sqlite3* database, std::string_view text) {
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(database, "INSERT INTO sale VALUES (?,?,?,?,?,?,?,?,?,?)", -1, &insert,
                     nullptr);
  std::string unquoted[kColumns];
  for (std::size_t at = text.find('\n') + 1; at < text.size();) {
    for (int column = 0; column < kColumns; ++column)
      Bind(insert, column, TakeField(text, at, unquoted[column]));
    if (sqlite3_step(insert) != SQLITE_DONE) Fail(sqlite3_errmsg(database));
    sqlite3_reset(insert);
  }
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
