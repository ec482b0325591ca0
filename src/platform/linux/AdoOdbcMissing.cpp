// Stands for AdoOdbc in a build without unixODBC.

#include "platform/linux/AdoOdbc.h"

#if !TORVIK_HAS_ODBC

#include "platform/PlatformError.h"

namespace torvik {

std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const OdbcLogon& logon, int,
                                              std::vector<ado::ProviderError>&) {
  throw PlatformError(0,
                      "the server " + logon.place.host + logon.place.dataSource +
                          " cannot be reached by this build, which was made without unixODBC; run "
                          "scripts/install-packages and build it anew",
                      "ODBC");
}

std::string DriverOfDataSource(const std::string&) {
  return "";
}

}  // namespace torvik

#endif
