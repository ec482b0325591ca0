#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/sqlite/SqliteRowsFile.h"
#include "platform/linux/sqlite/SqliteStatement.h"

struct sqlite3;

namespace torvik {

class SqliteSession;
struct SqliteLoadTable;

/// True for an "INSERT ... SELECT" by which SQLite copies records as they lie, and looks at no
/// value; false also for one that cannot be compiled.
bool CopiesRecords(sqlite3* handle, const std::string& insert);

/// Rows on their way into a plain table as records that are ready, which SQLite need not put
/// together value by value: it copies them from a database in memory.
class SqliteRecordLoad {
 public:
  /// `columns`: those that the rows have, in their order. Null where the table is not plain, lacks
  /// a value for one of its columns, or its connection does not copy records as they are.
  static std::unique_ptr<SqliteRecordLoad> Open(std::shared_ptr<SqliteSession> session,
                                                const SqliteLoadTable& table,
                                                const std::vector<ado::Column>& columns);

  /// Without rows.
  void Clear() { file_->Rows().Clear(); }

  /// False for a row that SQLite must look at, or when there is no room left; it is not taken then.
  bool Add(std::span<const ado::LoadValue> row);

  /// Loads the rows that were added; answers how many. Throws, and loads none of them, when the
  /// server refuses one.
  std::int64_t Load();

 private:
  SqliteRecordLoad(std::shared_ptr<SqliteSession> session, std::shared_ptr<SqliteRowsFile> file,
                   const SqliteLoadTable& table, std::vector<SqliteRecord::Column> columns);

  const std::shared_ptr<SqliteSession> session_;
  const std::shared_ptr<SqliteRowsFile> file_;
  const std::string place_;
  SqliteRecord record_;
  SqliteStatement insert_, last_;
};

}  // namespace torvik
