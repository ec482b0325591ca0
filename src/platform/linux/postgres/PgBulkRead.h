#pragma once

#include <memory>
#include <string>

#include "platform/Ado.h"

namespace torvik {

class PgSession;

/// The rows of the last statement of `sql`, in the texts that recordsets have: by COPY or, with
/// `alongside`, by a cursor of the server. A statement that is no query but has rows (SHOW,
/// EXPLAIN) is read as a whole.
std::unique_ptr<ado::BulkRead> OpenPgBulkRead(std::shared_ptr<PgSession> session,
                                              const std::string& sql, bool alongside);

}  // namespace torvik
