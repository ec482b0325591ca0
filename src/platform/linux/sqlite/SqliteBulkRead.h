#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Ado.h"
#include "platform/linux/sqlite/SqliteTables.h"

namespace torvik {

class SqliteSession;
class SqliteStatement;

/// The rows of a query of a session.
class SqliteRead : public ado::BulkRead {
 public:
  virtual SqliteSession& Session() = 0;

  /// The table of which the read has every row and column, as they are; nothing for another query.
  virtual const std::optional<SqlitePlace>& WholeTable() const = 0;

  virtual bool HasBegun() const = 0;
};

/// The rows of a query as they are stepped to. They change when the connection changes the tables
/// that the query reads.
/// `sql` is that query's text.
std::unique_ptr<ado::BulkRead> NewSqliteBulkRead(std::shared_ptr<SqliteSession> session,
                                                 const std::string& sql,
                                                 std::unique_ptr<SqliteStatement> query);

/// The rows that the query `sql` has now, whatever the connection does before they are read: they
/// are kept in a temporary table, which goes away with the answer. `query` is that query, compiled.
std::unique_ptr<ado::BulkRead> NewSqliteSpooledRead(const std::shared_ptr<SqliteSession>& session,
                                                    const std::string& sql,
                                                    const SqliteStatement& query);

}  // namespace torvik
