#pragma once

#include "script/Value.h"

namespace torvik::engine {

class PackageControl;

/// The Tasks of a package, each with Name, CustomTaskID, Properties("name") and CustomTask, which
/// has the same properties as members. `package` must outlive the object.
script::Value NewTasksObject(PackageControl& package);

}  // namespace torvik::engine
