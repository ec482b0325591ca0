#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageModel.h"
#include "engine/model/TomlTable.h"

namespace torvik::engine {

/// Reads the provider and properties of the connection `name` from its table. Unknown ones, values
/// that a property does not take and properties that are missing go to `problems`.
ConnectionModel ReadConnection(TableReader& table, const std::string& name,
                               const std::vector<GlobalVariable>& variables, Problems& problems);

}  // namespace torvik::engine
