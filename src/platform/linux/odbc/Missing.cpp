// Stands for the room in a build without unixODBC or FreeTDS.

#include "platform/PlatformError.h"
#include "platform/linux/odbc/AdoOdbc.h"
#include "platform/linux/odbc/OdbcDataSources.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {

std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const DatabaseLogon& logon, int,
                                              std::vector<ado::ProviderError>&) {
  throw PlatformError(0,
                      NotInThisBuild("the server " + logon.address.host + logon.address.dataSource,
                                     "be reached", "unixODBC or FreeTDS"),
                      "ODBC");
}

std::string DriverOfDataSource(const std::string&) {
  return "";
}

std::vector<std::string> OdbcDataSources() {
  return {};
}

}  // namespace torvik
