#pragma once

#include <memory>
#include <span>

#include "engine/Task.h"

namespace torvik::engine {

class TaskReader;

/// One kind of task: the name that documents call it by, and how its settings are read. What is
/// wrong with them goes to the reader's problems; the task is then never run.
struct TaskKind {
  const char* name;
  std::unique_ptr<Task> (*read)(TaskReader& reader);
};

std::span<const TaskKind> TaskKinds();

std::unique_ptr<Task> ReadExecuteSqlTask(TaskReader& reader);
std::unique_ptr<Task> ReadDataPumpTask(TaskReader& reader);
std::unique_ptr<Task> ReadBulkInsertTask(TaskReader& reader);
std::unique_ptr<Task> ReadTransferTablesTask(TaskReader& reader);
std::unique_ptr<Task> ReadExecutePackageTask(TaskReader& reader);
std::unique_ptr<Task> ReadExecuteProcessTask(TaskReader& reader);
std::unique_ptr<Task> ReadSetVariablesTask(TaskReader& reader);
std::unique_ptr<Task> ReadSendMailTask(TaskReader& reader);
std::unique_ptr<Task> ReadFileTask(TaskReader& reader);
std::unique_ptr<Task> ReadScriptTask(TaskReader& reader);
std::unique_ptr<Task> ReadNotImportedTask(TaskReader& reader);

}  // namespace torvik::engine
