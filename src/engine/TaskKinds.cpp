#include "engine/TaskKinds.h"

#include "engine/ExecutePackageTask.h"
#include "engine/tasks/Tasks.h"

namespace torvik::engine {

std::span<const TaskKind> TaskKinds() {
  static constexpr TaskKind kKinds[] = {
      {"ExecuteSQL", ReadExecuteSqlTask},
      {"DataPump", ReadDataPumpTask},
      {"DataDrivenQuery", ReadDataDrivenQueryTask},
      {"ExecutePackage", ReadExecutePackageTask},
      {"ExecuteProcess", ReadExecuteProcessTask},
      {"RunJob", ReadRunJobTask},
      {"SetVariables", ReadSetVariablesTask},
      {"BulkInsert", ReadBulkInsertTask},
      {"TransferTables", ReadTransferTablesTask},
      {"SendMail", ReadSendMailTask},
      {"File", ReadFileTask},
      {"FetchFiles", ReadFetchFilesTask},
      {"Script", ReadScriptTask},
      {"NotImported", ReadNotImportedTask},
  };
  return kKinds;
}

}  // namespace torvik::engine
