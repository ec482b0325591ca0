#pragma once

#include <memory>

#include "platform/Ado.h"
#include "platform/linux/database/QueryRows.h"
#include "platform/linux/database/RefusalFactory.h"
#include "platform/linux/database/RowUpdate.h"

namespace torvik {

/// The rows of a query as a cursor of the given kind: on the server a row is read when it is moved
/// to; on the client all are read at once and, with a lock, changed by way of `target`, which may
/// be null otherwise.
std::unique_ptr<ado::Recordset> NewRecordset(std::unique_ptr<QueryRows> query,
                                             const ado::CursorOptions& options,
                                             RefusalFactory refuse,
                                             std::unique_ptr<UpdateTarget> target);

}  // namespace torvik
