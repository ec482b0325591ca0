// Stands for the room in the programs, which load it when PostgreSQL is first used.

#include "platform/PlatformError.h"
#include "platform/linux/modules/Modules.h"
#include "platform/linux/postgres/AdoPostgres.h"

namespace torvik {

bool TakesPostgresPlace(const ServerAddress& place) {
  if (place.driver.empty()) return true;
  try {
    static const auto takes = InModule(kPostgresModule, &TakesPostgresPlace, "PostgreSQL");
    return takes(place);
  } catch (const PlatformError&) {
    return false;  // its driver reaches the server too
  }
}

std::unique_ptr<AdoDatabase> OpenPostgresDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                                  std::vector<ado::ProviderError>& errors) {
  static const auto open =
      InModule(kPostgresModule, &OpenPostgresDatabase, "the server " + logon.address.host);
  return open(logon, timeoutSeconds, errors);
}

}  // namespace torvik
