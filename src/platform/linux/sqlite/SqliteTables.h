#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class SqliteSession;

/// A table of a session: the schema that its database has there, and its name.
struct SqlitePlace {
  std::string schema;
  std::string table;
};

/// The place that "table", "dbo.table" or "database.dbo.table" names, whether the table is there or
/// not. Throws when the text is no such name.
SqlitePlace SqlitePlaceOf(SqliteSession& session, const std::string& table);

/// The name as the calls of a connection and SQL texts take it.
std::string SqliteSpelling(const SqlitePlace& place);

/// The calls of ado::Connection of the same names.
std::vector<std::string> CreateSqliteTable(SqliteSession& session, const SqlitePlace& place,
                                           std::span<const ado::Column> columns);
void EmptySqliteTable(SqliteSession& session, const SqlitePlace& place);
std::string CreateSqliteStagingTable(SqliteSession& session, const SqlitePlace& place);
std::int64_t ReplaceSqliteRows(SqliteSession& session, const SqlitePlace& place,
                               const SqlitePlace& staging);

}  // namespace torvik
