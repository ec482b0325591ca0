#pragma once

#include <memory>
#include <span>
#include <string>

#include "platform/Ado.h"

namespace torvik {

class PgSession;

/// Rows on their way into a table by COPY, one for each call of Load. Within a transaction a call
/// that meets a refusal without tolerance leaves the transaction to be rolled back.
std::unique_ptr<ado::BulkLoad> NewPgBulkLoad(std::shared_ptr<PgSession> session,
                                             const std::string& table,
                                             std::span<const std::string> columns);

}  // namespace torvik
