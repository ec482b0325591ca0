#include "engine/LoggedExecution.h"

#include <utility>

#include "engine/PackageDocument.h"
#include "engine/run/PackageLog.h"

namespace torvik::engine {

void ExecuteLogged(ExecutionRequest request, const PackageOrigin& origin,
                   const std::function<void(const std::string&)>& onTrouble) {
  PackageLog file(request.services, request.package.name, request.variables, onTrouble);
  ServerLog server(request, origin, onTrouble);
  request.sink = [&file, &server, sink = std::move(request.sink)](ExecutionEvent event) {
    file.Handle(event);
    sink(event);
    server.Handle(event);
  };
  request.readTask = ReadTaskAnew;
  server.Begin();
  try {
    ExecutePackage(request);
  } catch (const PlatformError& failure) {
    server.End(&failure);
    throw;
  }
  server.End(nullptr);
}

}  // namespace torvik::engine
