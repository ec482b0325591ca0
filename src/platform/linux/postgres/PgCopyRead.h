#pragma once

#include <memory>

#include "platform/Bulk.h"
#include "platform/linux/postgres/PgStatements.h"

namespace torvik {

class PgSession;

/// The rows of a query by COPY, which has the connection for itself until its last row or its end.
std::unique_ptr<ado::BulkRead> NewPgCopyRead(std::shared_ptr<PgSession> session,
                                             const PgStatement& query);

}  // namespace torvik
