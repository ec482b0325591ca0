#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/pump/Pump.h"

namespace torvik::engine {

class TaskContext;
class TaskReader;
class Transformation;

/// What a transformation is made from when its step runs.
struct TransformationScope {
  TaskContext& context;
  const std::vector<std::string>& sourceColumns;
};

/// One transformation of a document, checked.
struct TransformationPlan {
  std::string source;  ///< Empty: the value so far, or none.
  std::string destination;
  unsigned flags = 0;
  std::string connection;  ///< Of a lookup.
  std::function<std::unique_ptr<Transformation>(const TransformationScope&)> make;  ///< Null: copy.
};

/// The key "transformations" of a data pump.
std::vector<TransformationPlan> ReadTransformations(TaskReader& reader);

/// Adds the transformations to `columns`: one whose destination is filled already works on what
/// fills it. Without any `columns`, source columns that no transformation uses are copied by their
/// names.
std::vector<ColumnMapping> WithTransformations(std::vector<ColumnMapping> columns,
                                               const std::vector<TransformationPlan>& plans,
                                               unsigned flags, const TransformationScope& scope);

}  // namespace torvik::engine
