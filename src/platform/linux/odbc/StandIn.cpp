// Stands for the room in the programs, which load it when ODBC is first used.

#include "platform/PlatformError.h"
#include "platform/linux/modules/Modules.h"
#include "platform/linux/odbc/AdoOdbc.h"
#include "platform/linux/odbc/OdbcDataSources.h"

namespace torvik {

std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                              std::vector<ado::ProviderError>& errors) {
  static const auto open = InModule(kOdbcModule, &OpenOdbcDatabase,
                                    "the server " + logon.address.host + logon.address.dataSource);
  return open(logon, timeoutSeconds, errors);
}

// Without the module there are no data sources; who opens a server by it is told.
std::string DriverOfDataSource(const std::string& name) {
  try {
    static const auto driverOf = InModule(kOdbcModule, &DriverOfDataSource, name);
    return driverOf(name);
  } catch (const PlatformError&) {
    return "";
  }
}

std::vector<std::string> OdbcDataSources() {
  try {
    return InModule(kOdbcModule, &OdbcDataSources, "ODBC")();
  } catch (const PlatformError&) {
    return {};
  }
}

}  // namespace torvik
