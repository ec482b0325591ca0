#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class SqliteRead;
class SqliteSession;
struct SqliteLoadTable;

/// Moves all rows of `rows` into a plain table of another database: SQLite copies their records as
/// they lie, while a thread looks whether each value is one that `columns`, all of the table's,
/// would keep so. Belongs into a transaction. Answers how many rows it moved; nothing, and then
/// none, where the read is not of a whole table made alike, or something in it does not fit or is
/// unusual. `progress` gets the rows so far; what it throws ends the transfer, and may undo the
/// transaction.
std::optional<std::int64_t> TransferSqliteRows(SqliteSession& session, const SqliteLoadTable& table,
                                               const std::vector<ado::Column>& columns,
                                               SqliteRead& rows,
                                               const std::function<void(std::int64_t)>& progress);

}  // namespace torvik
