#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class SqliteSession;
class SqliteStatement;

/// The rows of a compiled query, as a cursor of the given kind. The session stays open as long as
/// the recordset lives.
std::unique_ptr<ado::Recordset> NewSqliteRecordset(std::shared_ptr<SqliteSession> session,
                                                   std::unique_ptr<SqliteStatement> query,
                                                   const ado::CursorOptions& options);

}  // namespace torvik
