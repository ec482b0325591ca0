#pragma once

#include <memory>

#include "platform/linux/database/RowUpdate.h"

namespace torvik {

class SqliteSession;
class SqliteStatement;

/// Where the rows of a compiled query can be changed.
std::unique_ptr<UpdateTarget> NewSqliteUpdateTarget(std::shared_ptr<SqliteSession> session,
                                                    const SqliteStatement& query);

}  // namespace torvik
