#pragma once

#include <memory>

#include "engine/model/Task.h"

namespace torvik::engine {

class TaskReader;

/// What each task of the table of kinds is read by.
std::unique_ptr<Task> ReadExecuteSqlTask(TaskReader& reader);
std::unique_ptr<Task> ReadDataPumpTask(TaskReader& reader);
std::unique_ptr<Task> ReadDataDrivenQueryTask(TaskReader& reader);
std::unique_ptr<Task> ReadBulkInsertTask(TaskReader& reader);
std::unique_ptr<Task> ReadTransferTablesTask(TaskReader& reader);
std::unique_ptr<Task> ReadExecuteProcessTask(TaskReader& reader);
std::unique_ptr<Task> ReadRunJobTask(TaskReader& reader);
std::unique_ptr<Task> ReadSetVariablesTask(TaskReader& reader);
std::unique_ptr<Task> ReadSendMailTask(TaskReader& reader);
std::unique_ptr<Task> ReadFileTask(TaskReader& reader);
std::unique_ptr<Task> ReadFetchFilesTask(TaskReader& reader);
std::unique_ptr<Task> ReadScriptTask(TaskReader& reader);
std::unique_ptr<Task> ReadNotImportedTask(TaskReader& reader);

}  // namespace torvik::engine
