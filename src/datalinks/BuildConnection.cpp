#include "datalinks/BuildConnection.h"

#include "datalinks/cDataSource.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

/// Empty for the kinds that have no provider.
std::string ProviderOf(std::int32_t etlType) {
  switch (etlType) {
    case EtlSqlServer: return "SQLOLEDB.1";
    case EtlExcel:
    case EtlAccess: return "Microsoft.Jet.OLEDB.4.0";
    case EtlOracle:
    case EtlOracleSchemas: return "MSDAORA.1";
    default: return "";
  }
}

bool HasCatalogue(std::int32_t etlType) {
  return etlType == EtlSqlServer || etlType == EtlOracle || etlType == EtlOracleSchemas;
}

/// What the connection makes of a step shows when it has been opened, or not.
template <class Step>
void Try(Step step) {
  try {
    step();
  } catch (const PlatformError&) {
  }
}

}  // namespace

bool BuildConnection(ado::Provider& databases, std::int32_t etlType, const ServerLogon& logon,
                     std::unique_ptr<ado::Connection>& connection, std::string& errorText,
                     const std::string& database, int timeoutSeconds) {
  connection = nullptr;
  Try([&] { connection = databases.NewConnection(); });
  if (!connection) return false;
  const auto set = [&](const char* property, const std::string& value) {
    Try([&] { connection->SetProperty(property, value); });
  };
  const std::string provider = ProviderOf(etlType);
  if (!provider.empty()) Try([&] { connection->SetProvider(provider); });
  const bool isNamed = database.find_first_not_of(' ') != std::string::npos;
  if (HasCatalogue(etlType) && isNamed) set("Initial Catalog", database);
  Try([&] { connection->SetConnectionTimeout(timeoutSeconds); });
  set("Persist Security Info", "False");
  set("Data Source", logon.server);
  if (etlType == EtlSqlServer && logon.isTrusted) {
    set("Integrated Security", "SSPI");
  } else {
    set("User ID", logon.user);
    set("Password", logon.password);
  }
  Try([&] { connection->Open(); });
  if (connection->State() == ado::ObjectState::Open) return true;
  for (const auto& error : connection->Errors()) errorText += "\r\n" + error.description;
  connection = nullptr;
  return false;
}

}  // namespace torvik
