#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Ado.h"

struct sqlite3_stmt;

namespace torvik {

class SqliteSession;

/// One compiled statement. Whatever fails throws the session's error, which begins with `place`.
class SqliteStatement {
 public:
  /// Compiles the first statement of `sql`.
  SqliteStatement(SqliteSession& session, std::string_view sql, std::string place);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  sqlite3_stmt* Handle() const { return handle_; }

  /// How much of the text the statement takes.
  std::size_t Length() const { return length_; }

  /// Positions count from 1. The value is copied.
  void Bind(int position, const ado::Value& value);

  /// True when there is a row.
  bool Step();

  /// Rows that the statement itself changed so far, without those that its triggers changed.
  std::int64_t ChangedRows() const;

  /// How many parameters the statement has.
  int ParameterCount() const;

  /// Columns count from 0.
  int ColumnCount() const;
  std::string ColumnName(int column) const;
  ado::Value Column(int column) const;

  /// The column of a table that a result column comes from.
  struct Origin {
    std::string schema, table, column;
  };
  std::optional<Origin> ColumnOrigin(int column) const;

 private:
  SqliteSession& session_;
  std::string place_;
  sqlite3_stmt* handle_ = nullptr;
  std::size_t length_ = 0;
  std::int64_t changesBefore_ = 0;
};

}  // namespace torvik
