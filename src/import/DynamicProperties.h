#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// What an assignment of a task for dynamic properties sets, as its DestinationPropertyID says it:
/// 'Connections';'dw';'Properties';'DataSource'.
struct PropertyPath {
  explicit PropertyPath(std::string_view text);

  bool IsVariable() const;
  /// True for the property of a step that keeps it from running.
  bool DisablesStep() const;

  std::vector<std::string> parts;
};

/// Properties of connections and tasks that a package sets while it runs become `${Name}` of a
/// global variable, which begins with the property's own value, and the assignment then sets that
/// variable. What cannot be a variable is left as it is.
void BindDynamicProperties(Recording& recording);

}  // namespace torvik::importing
