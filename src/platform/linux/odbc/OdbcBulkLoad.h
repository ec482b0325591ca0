#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class OdbcSession;
struct OdbcTable;

/// Rows on their way into a table: by bulk copy where the driver has it for all of the table's
/// columns, else by arrays of rows for one INSERT. `columns` are those to be filled, in the order
/// of the rows' values. Rows go into the caller's transaction; without one each batch is committed.
std::unique_ptr<ado::BulkLoad> NewOdbcBulkLoad(std::shared_ptr<OdbcSession> session,
                                               const OdbcTable& table,
                                               const std::vector<ado::Column>& columns,
                                               const ado::LoadOptions& options);

}  // namespace torvik
