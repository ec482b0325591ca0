#include "platform/linux/database/DatabaseLogon.h"

#include "platform/Text.h"

namespace torvik {

bool IsSystemDatabase(const std::string& name) {
  return EqualsIgnoringCase(name, "master") || EqualsIgnoringCase(name, "msdb");
}

}  // namespace torvik
