#pragma once

#include <functional>
#include <string>

#include "script/Value.h"

namespace torvik::engine {

class PackageControl;

/// DTSGlobalVariables.Parent: the package with Name, Steps, Tasks, Connections and GlobalVariables,
/// which `globalVariables` makes. `package` must outlive the object.
script::Value NewPackageObject(PackageControl& package,
                               std::function<script::Value()> globalVariables);

/// DTSPackageLog of the step called `step`.
script::Value NewPackageLogObject(PackageControl& package, std::string step);

}  // namespace torvik::engine
