#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/database/RowUpdate.h"

namespace torvik {

class OdbcSession;
class QueryRows;

/// Where the rows of a query can be changed: drivers do not say it, so that the table is read from
/// the query's text.
std::unique_ptr<UpdateTarget> NewOdbcUpdateTarget(std::shared_ptr<OdbcSession> session,
                                                  const std::string& sql, const QueryRows& query);

}  // namespace torvik
