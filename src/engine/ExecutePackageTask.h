#pragma once

#include <memory>

#include "engine/model/Task.h"

namespace torvik::engine {

class TaskReader;

/// A step that runs another package of the store.
std::unique_ptr<Task> ReadExecutePackageTask(TaskReader& reader);

}  // namespace torvik::engine
