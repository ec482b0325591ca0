#pragma once

#include <optional>
#include <string_view>

#include "platform/linux/database/SqlIdentity.h"
#include "platform/linux/sqlite/SqliteTables.h"

namespace torvik {

class SqliteSession;

/// What the table's key was declared as; nothing when it numbers no rows by its declaration.
std::optional<SqlIdentity> FindIdentity(SqliteSession& session, const SqlitePlace& place);

/// After a statement that has made a table: its first row gets the number that was declared. Does
/// nothing after any other.
void BeginNumbering(SqliteSession& session, std::string_view create);

/// After a table has been emptied: the next row gets the number that was declared.
void RestartNumbering(SqliteSession& session, const SqlitePlace& place);

}  // namespace torvik
