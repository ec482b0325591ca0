#pragma once

#include <memory>

#include "platform/Ado.h"

namespace torvik {

class SqliteSession;
class SqliteStatement;

/// The rows of a query as they are stepped to. They change when the connection changes the tables
/// that the query reads.
std::unique_ptr<ado::BulkRead> NewSqliteBulkRead(std::shared_ptr<SqliteSession> session,
                                                 std::unique_ptr<SqliteStatement> query);

/// The rows that the query `sql` has now, whatever the connection does before they are read: they
/// are kept in a temporary table, which goes away with the answer. `query` is that query, compiled.
std::unique_ptr<ado::BulkRead> NewSqliteSpooledRead(const std::shared_ptr<SqliteSession>& session,
                                                    const std::string& sql,
                                                    const SqliteStatement& query);

}  // namespace torvik
