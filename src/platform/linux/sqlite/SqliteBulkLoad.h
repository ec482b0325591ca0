#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class SqliteSession;

/// Rows on their way into `table`, whose schema in the session is `schema`. `columns` are those to
/// be filled, in the order of the rows' values; each goes in as the number, text or bytes that its
/// kind asks for. Rows go into the caller's transaction; without one each is committed alone.
/// `isOwnTransaction`: it holds nothing but what belongs to this load, and ends with it.
std::unique_ptr<ado::BulkLoad> NewSqliteBulkLoad(std::shared_ptr<SqliteSession> session,
                                                 const std::string& schema,
                                                 const std::string& table,
                                                 const std::vector<ado::Column>& columns,
                                                 bool isOwnTransaction);

}  // namespace torvik
