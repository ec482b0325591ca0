#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// A load that refuses by itself what SQL Server cannot convert or has no range for, as far as that
/// is plain: the server does not refuse such a row alone, it ends the batch and rolls back the
/// whole transaction. `inner` takes the others. `place` begins the texts.
std::unique_ptr<ado::BulkLoad> NewCheckedLoad(const std::vector<ado::Column>& columns,
                                              std::string place,
                                              std::unique_ptr<ado::BulkLoad> inner);

}  // namespace torvik
