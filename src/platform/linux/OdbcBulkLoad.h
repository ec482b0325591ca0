#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class OdbcSession;

/// Rows on their way into a table by one prepared statement. `table` is quoted; `columns` are those
/// to be filled, in the order of the rows' values. Rows go into the caller's transaction; without
/// one each is committed alone.
std::unique_ptr<ado::BulkLoad> NewOdbcBulkLoad(std::shared_ptr<OdbcSession> session,
                                               const std::string& table,
                                               const std::vector<ado::Column>& columns);

}  // namespace torvik
