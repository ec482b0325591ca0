#pragma once

#include <memory>
#include <string>

#include "platform/linux/sqlite/SqlitePages.h"

struct sqlite3;

namespace torvik {

/// Rows in memory as a table of a database beside, which SQLite reads where they lie: rows of a
/// table made like the destination are copied record by record, without a look at their values.
class SqliteRowsFile {
 public:
  /// Attaches the database `schema` with a table made by the text of `createTable`, which names it
  /// kTable. Null where the connection takes no more databases, or cannot read this one in place.
  static std::unique_ptr<SqliteRowsFile> Attach(sqlite3* handle, const std::string& schema,
                                                const std::string& createTable);
  SqliteRowsFile(const SqliteRowsFile&) = delete;
  SqliteRowsFile& operator=(const SqliteRowsFile&) = delete;

  static constexpr const char* kTable = "torvik_rows";

  /// As SQL text names the table.
  std::string Name() const;
  const std::string& CreateTable() const { return createTable_; }

  /// The rows, which may change between statements.
  SqlitePages& Rows() { return pages_; }

  /// Lets go of the database; false while a transaction holds it. It goes with the connection at
  /// the latest.
  bool Detach();

 private:
  SqliteRowsFile(sqlite3* handle, std::string schema, std::string createTable,
                 unsigned char* memory);

  sqlite3* const handle_;
  const std::string schema_, createTable_;
  SqlitePages pages_;
};

}  // namespace torvik
