#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "import/DocumentWriter.h"
#include "import/Properties.h"
#include "import/Record.h"

namespace torvik::importing {

/// What tasks refer to.
struct TaskScope {
  DocumentWriter& writer;
  std::vector<Note>& notes;
  /// The connections' names in the document, by their numbers.
  const std::map<std::int64_t, std::string>& connections;
  const std::set<std::int64_t>& textFiles;  ///< Those of them that are text files.
  std::vector<Property> stepRest = {};  ///< Of the step, kept as original with those of its task.
};

/// Writes the keys of a step's task, the key "task" included; a task that is not known becomes one
/// that fails with a reason. `task` is the recorded task.
void WriteTask(TaskScope& scope, const Object& task);

/// Writes properties as they were in the package's designer, if there are any.
void WriteOriginal(DocumentWriter& writer, const std::string& header,
                   const std::vector<Property>& properties);

/// The same for a step with those of its task.
void WriteStepOriginal(TaskScope& scope, const std::vector<Property>& ofTask);

/// A class's name without what surrounds it: "DTS.DataPumpTask2.1" is "datapumptask".
std::string ClassName(std::string_view progId);

}  // namespace torvik::importing
