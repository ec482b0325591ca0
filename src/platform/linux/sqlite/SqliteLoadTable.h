#pragma once

#include <string>
#include <vector>

namespace torvik {

class SqliteSession;

/// What a load must know of the table that its rows go to. One that is not there has nothing of it.
struct SqliteLoadTable {
  struct Column {
    std::string name, declaredType;
    bool isNullable = false;
  };

  std::string schema;
  std::string name;  ///< Of a plain table: as its text spells it.
  bool isView = false;
  bool hasIndex = false;
  /// True when a refused row leaves the rows before it in place, with INSERT OR FAIL, and OR FAIL
  /// changes nothing else (https://sqlite.org/lang_conflict.html): it would outdo the table's own
  /// ON CONFLICT and reach into triggers; foreign keys, and types that are strict, end the
  /// statement with all of its rows.
  bool takesRowsTogether = false;
  /// The column that is the row's number in SQLite; empty when none is. It takes nothing but whole
  /// numbers, and another value ends a statement with all of its rows.
  std::string rowNumberColumn;
  /// The CREATE text of a plain table: nothing but NOT NULL can refuse a row whose values fit, and
  /// no index or trigger need see it. Empty for another.
  std::string plainText;
  std::vector<Column> columns;  ///< Of a plain table: all of them, in its order.
};

SqliteLoadTable LookAtLoadTable(SqliteSession& session, const std::string& schema,
                                const std::string& name);

}  // namespace torvik
