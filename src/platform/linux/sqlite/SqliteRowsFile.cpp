#include "platform/linux/sqlite/SqliteRowsFile.h"

#include <sqlite3.h>

#include <utility>

#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

bool Run(sqlite3* handle, const std::string& sql) {
  return sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// The pages are read where they lie, and not kept in a cache, where those of an earlier batch
/// would stay until the transaction ends. False when SQLite was built without that.
bool ReadInPlace(sqlite3* handle, const std::string& schema) {
  return sqlite3_compileoption_used("MAX_MMAP_SIZE=0") == 0 &&
         Run(handle, "PRAGMA " + schema + ".mmap_size = " + std::to_string(SqlitePages::kSize));
}

/// BEGIN IMMEDIATE locks every database for writing; one without a journal has no part in the
/// commit of several.
bool StayOutOfCommits(sqlite3* handle, const std::string& schema) {
  return Run(handle, "PRAGMA " + schema + ".journal_mode = OFF");
}

}  // namespace

std::unique_ptr<SqliteRowsFile> SqliteRowsFile::Attach(sqlite3* handle, const std::string& schema,
                                                       const std::string& createTable) {
  if (!SqlitePages::Fits(createTable)) return nullptr;
  const std::string name = QuotedName(schema);
  if (!Run(handle, "ATTACH ':memory:' AS " + name)) return nullptr;
  auto* const memory = static_cast<unsigned char*>(sqlite3_malloc64(SqlitePages::kSize));
  if (memory == nullptr) return Run(handle, "DETACH " + name), nullptr;
  std::unique_ptr<SqliteRowsFile> file(new SqliteRowsFile(handle, name, createTable, memory));
  // SQLite frees the memory, also when it does not take it.
  if (sqlite3_deserialize(handle, schema.c_str(), memory, SqlitePages::kSize, SqlitePages::kSize,
                          SQLITE_DESERIALIZE_FREEONCLOSE) == SQLITE_OK &&
      ReadInPlace(handle, name) && StayOutOfCommits(handle, name))
    return file;
  file->Detach();
  return nullptr;
}

SqliteRowsFile::SqliteRowsFile(sqlite3* handle, std::string schema, std::string createTable,
                               unsigned char* memory)
    : handle_(handle),
      schema_(std::move(schema)),
      createTable_(std::move(createTable)),
      pages_(memory, kTable, createTable_) {}

std::string SqliteRowsFile::Name() const {
  return schema_ + "." + kTable;
}

bool SqliteRowsFile::Detach() {
  return Run(handle_, "DETACH " + schema_);
}

}  // namespace torvik
