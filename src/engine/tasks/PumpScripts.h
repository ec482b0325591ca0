#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageScript.h"
#include "engine/model/TomlTable.h"
#include "engine/pump/RowScript.h"
#include "engine/tasks/TransformationReader.h"

namespace torvik::engine {

/// A query that the scripts of a pump ask by its name.
struct LookupPlan {
  std::string name;
  std::string connection;
  PlacedText sql;
  std::size_t cacheSize = 0;
};

/// The key "lookups" of a data pump.
std::vector<LookupPlan> ReadLookups(TaskReader& reader);

/// A transformation of the type "script".
ScriptPlan ReadScriptTransformation(TaskReader& reader);

/// Compiles the scripts for one run.
std::vector<ScriptMapping> NewScriptMappings(const std::vector<ScriptPlan>& plans,
                                             const std::vector<LookupPlan>& lookups, unsigned flags,
                                             const TransformationScope& scope);

}  // namespace torvik::engine
