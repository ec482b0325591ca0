// Stands for the room in a build without libpq.

#include "platform/PlatformError.h"
#include "platform/linux/postgres/AdoPostgres.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {

bool TakesPostgresPlace(const ServerAddress& address) {
  return address.driver.empty();
}

std::unique_ptr<AdoDatabase> OpenPostgresDatabase(const DatabaseLogon& logon, int,
                                                  std::vector<ado::ProviderError>&) {
  throw PlatformError(0,
                      NotInThisBuild("the server " + logon.address.host, "be reached", "libpq") +
                          ", or use backend = odbc",
                      "PostgreSQL");
}

}  // namespace torvik
