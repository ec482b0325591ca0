// Stands for AdoPostgres in a build without libpq.

#include "platform/linux/AdoPostgres.h"

#if !TORVIK_HAS_POSTGRESQL

#include "platform/PlatformError.h"

namespace torvik {

bool TakesPostgresPlace(const OdbcPlace& place) {
  return place.driver.empty();
}

std::unique_ptr<AdoDatabase> OpenPostgresDatabase(const OdbcLogon& logon, int,
                                                  std::vector<ado::ProviderError>&) {
  throw PlatformError(0,
                      "the server " + logon.place.host +
                          " cannot be reached by this build, which was made without libpq; run "
                          "scripts/install-packages and build it anew, or use backend = odbc",
                      "PostgreSQL");
}

}  // namespace torvik

#endif
