#pragma once

#include <span>
#include <vector>

#include "platform/Bulk.h"
#include "platform/PlatformError.h"

namespace torvik {

/// Loads one row; a refusal is thrown.
inline void LoadRow(ado::BulkLoad& load, std::span<const ado::LoadValue> row) {
  std::vector<ado::Refusal> refused;
  load.Load({row, row.size()}, 0, refused);
  if (!refused.empty()) throw PlatformError(refused[0].number, refused[0].description, "load");
}

}  // namespace torvik
