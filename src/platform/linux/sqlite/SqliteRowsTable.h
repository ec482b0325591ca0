#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/sqlite/SqliteLoadValue.h"

struct sqlite3_module;

namespace torvik {

class SqliteSession;

/// Rows in memory as a table of SQLite, so that one statement can move many of them: a virtual
/// table (https://sqlite.org/vtab.html) that is there while this lives, with one column for each
/// storage. Statements on it are finalized before.
class SqliteRowsTable {
 public:
  SqliteRowsTable(SqliteSession& session, std::vector<SqliteStorage> columns);
  ~SqliteRowsTable();
  SqliteRowsTable(const SqliteRowsTable&) = delete;
  SqliteRowsTable& operator=(const SqliteRowsTable&) = delete;

  /// As SQL text names it.
  const std::string& Name() const { return name_; }

  /// What the table holds from now on; the values must stay where they are while it is read.
  void Show(const ado::LoadRows& rows);

  /// Which row the statement that reads the table has come to, from 0.
  std::size_t Position() const { return position_; }

 private:
  struct Calls;

  SqliteSession& session_;
  const std::string name_;
  const std::vector<SqliteStorage> columns_;
  std::size_t count_ = 0, position_ = 0;
  const ado::LoadValue *first_ = nullptr, *row_ = nullptr;  ///< Of the rows, and the one at hand.
};

}  // namespace torvik
