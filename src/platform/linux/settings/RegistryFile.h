#pragma once

#include <memory>
#include <string>

#include "platform/Registry.h"

namespace torvik {

/// A registry whose hives are text files of `directory`, which is made when something is first
/// written: "HKEY_LOCAL_MACHINE.reg" with a section for each key and a line "name"="value" for each
/// value, "@" for the default one. Bytes that are not printable ASCII are written \xHH. Several
/// processes may use it at once.
std::unique_ptr<Registry> NewRegistryFile(std::string directory);

}  // namespace torvik
