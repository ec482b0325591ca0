#pragma once

#include <memory>
#include <string>

#include "platform/linux/database/RowUpdate.h"

namespace torvik {

class PgSession;
class QueryRows;

/// Where the rows of a query can be changed; the table is read from the query's text.
std::unique_ptr<UpdateTarget> NewPgUpdateTarget(std::shared_ptr<PgSession> session,
                                                const std::string& sql, const QueryRows& query);

}  // namespace torvik
