#pragma once

#include <memory>
#include <string>

#include "platform/Ado.h"
#include "platform/linux/odbc/OdbcBulkCopy.h"

namespace torvik {

class OdbcSession;

/// Rows on their way by bulk copy. A batch that is not taken whole goes again by `inserts`, which
/// finds the rows that are refused, and so do rows that the driver cannot send.
std::unique_ptr<ado::BulkLoad> NewOdbcCopyLoad(std::shared_ptr<OdbcSession> session,
                                               const std::string& table,
                                               std::vector<OdbcBulkCopy::Target> targets,
                                               const ado::LoadOptions& options,
                                               std::unique_ptr<ado::BulkLoad> inserts);

}  // namespace torvik
