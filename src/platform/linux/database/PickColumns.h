#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/RefusalFactory.h"

namespace torvik {

/// The columns of a table that have these names, letter case aside, in the names' order. Throws
/// when one is missing, and when `columns` is empty: then there is no such table.
std::vector<ado::Column> PickColumns(const std::vector<ado::Column>& columns,
                                     std::span<const std::string> names, const std::string& table,
                                     const RefusalFactory& refuse);

}  // namespace torvik
