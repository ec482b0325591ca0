#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Ado.h"

namespace torvik {

/// What stands behind a server text: the backend "embedded" keeps its databases in `directory`.
struct ServerPlace {
  std::string backend;
  std::string directory;
};

/// Answers the place of a server text ("Data Source"), nothing when it is not known.
using ServerLookup = std::function<std::optional<ServerPlace>(const std::string& server)>;

/// Connections that find their server at Open. "Initial Catalog" is the current database, master
/// when it is empty. The time-out ("Connect Timeout", else SetConnectionTimeout, else 15 seconds)
/// is how long a statement waits for a database that another connection holds; 0 does not wait.
std::unique_ptr<ado::Provider> NewAdoProvider(ServerLookup lookup);

}  // namespace torvik
