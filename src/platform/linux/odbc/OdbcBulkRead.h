#pragma once

#include <memory>
#include <string>

#include "platform/Ado.h"

namespace torvik {

class OdbcSession;

/// The rows of a query. Where the server's types bound the sizes of the values, hundreds of rows
/// are fetched at a time, else one. On a connection that carries one statement at a time the rows
/// that are left are set aside in a temporary file when another statement begins, so that they stay
/// as they were; a connection that carries several keeps them apart by itself.
std::unique_ptr<ado::BulkRead> NewOdbcBulkRead(std::shared_ptr<OdbcSession> session,
                                               const std::string& sql);

}  // namespace torvik
