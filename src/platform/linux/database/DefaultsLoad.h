#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// Opens a load of some of a table's columns.
using LoadOpener = std::function<std::unique_ptr<ado::BulkLoad>(const std::vector<ado::Column>&)>;

/// A load of `columns` in which NULL stands for the default of a column that has one: such a row
/// goes without that column. It is what `open` gives when no column has a default.
std::unique_ptr<ado::BulkLoad> NewDefaultsLoad(const std::vector<ado::Column>& columns,
                                               LoadOpener open);

}  // namespace torvik
