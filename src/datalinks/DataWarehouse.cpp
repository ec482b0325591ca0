#include "datalinks/DataWarehouse.h"

#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {

DataWarehouse::DataWarehouse(ado::Provider& databases) : databases_(databases) {}

DataWarehouse::~DataWarehouse() = default;

bool DataWarehouse::ConnectDataWarehouse(const ServerLogon& logon,
                                         const std::optional<std::string>& database,
                                         std::string& errorText, int timeoutSeconds) {
  if (HasBeenOpened()) connection_->Close();
  if (!connection_) connection_ = databases_.NewConnection();
  connection_->SetConnectionTimeout(timeoutSeconds);
  connection_->SetProvider("sqloledb");
  connection_->SetProperty("Data Source", logon.server);
  if (logon.isTrusted) {
    connection_->SetProperty("Integrated Security", "SSPI");
  } else {
    connection_->SetProperty("User ID", logon.user);
    connection_->SetProperty("Password", logon.password);
  }
  if (database) connection_->SetProperty("Initial Catalog", *database);
  try {
    connection_->Open();
  } catch (const PlatformError&) {
    // The provider's errors are read from the connection below.
  }
  if (HasBeenOpened()) return true;
  errorText = "Error while connecting to : " + logon.server;
  for (const auto& error : connection_->Errors()) errorText += "\r\n" + error.description;
  return false;
}

bool DataWarehouse::HasBeenOpened() const {
  return connection_ && connection_->State() == ado::ObjectState::Open;
}

ado::Connection& DataWarehouse::Connection() {
  if (!HasBeenOpened()) {
    throw PlatformError(0, "there is no connection to the data warehouse", "data warehouse");
  }
  return *connection_;
}

}  // namespace torvik
