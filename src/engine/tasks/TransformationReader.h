#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/model/ScriptSource.h"
#include "engine/pump/Pump.h"

namespace torvik::engine {

class TaskContext;
class TaskReader;
class Transformation;

/// What a transformation is made from when its step runs.
struct TransformationScope {
  TaskContext& context;
  const std::vector<std::string>& sourceColumns;
  bool choosesQueries = false;  ///< Scripts may answer which query a row is for.
};

/// One transformation of a document, checked.
struct TransformationPlan {
  std::string type;
  std::string source;       ///< Empty: the value so far, or none.
  std::string destination;  ///< Empty for one that fills no column.
  unsigned flags = 0;
  std::string connection;  ///< Of a lookup.
  std::function<std::unique_ptr<Transformation>(const TransformationScope&)> make;  ///< Null: copy.
};

/// A transformation that is a script.
struct ScriptPlan {
  ScriptSource script;
  std::vector<std::string> sources;  ///< Those that the script sees; empty: all.
  std::vector<std::string> destinations;
  unsigned flags = 0;
  /// When it works; only scripts of "row" can run.
  std::string phase = "row";
};

struct TransformationPlans {
  std::vector<TransformationPlan> columns;  ///< Each of one destination.
  std::vector<ScriptPlan> scripts;

  /// Why they cannot run, empty when they can.
  std::string WhyNot() const;
};

/// The key "transformations" of a data pump.
TransformationPlans ReadTransformations(TaskReader& reader);

/// Adds the transformations to `columns`: one whose destination is filled already works on what
/// fills it. With `byName` and without scripts, source columns that no transformation uses are
/// copied by their names.
std::vector<ColumnMapping> WithTransformations(std::vector<ColumnMapping> columns, bool byName,
                                               const TransformationPlans& plans, unsigned flags,
                                               const TransformationScope& scope);

}  // namespace torvik::engine
