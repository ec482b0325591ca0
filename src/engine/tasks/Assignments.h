#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/model/Task.h"
#include "platform/Ado.h"

namespace torvik::engine {

class TaskReader;

/// Where one value comes from: a text, a key or the whole of a file, a query's first value, the
/// environment.
class ValueSource {
 public:
  virtual ~ValueSource() = default;

  /// Throws when it cannot be had.
  virtual ado::Value Read(TaskContext& context) const = 0;

  /// For messages: "the query".
  virtual std::string Origin() const = 0;
};

/// One `[[steps.assignments]]`: a value, and the global variable that gets it or the step that it
/// disables.
struct Assignment {
  std::string variable;  ///< Empty: it is a step.
  PlacedText step;
  std::unique_ptr<const ValueSource> source;
};

/// Reads the array `assignments`; reports what is no assignment.
std::vector<Assignment> ReadAssignments(TaskReader& reader);

}  // namespace torvik::engine
