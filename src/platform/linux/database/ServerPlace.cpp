#include "platform/linux/database/ServerPlace.h"

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/database/DriverFamily.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {
namespace {

constexpr const char* kSource = "database connection";
constexpr const char* kSqlServerDriver = "FreeTDS";

bool BeginsWith(const std::string& text, std::string_view start) {
  return EqualsIgnoringCase(text.substr(0, start.size()), start);
}

bool IsFileProvider(const std::string& provider) {
  return BeginsWith(provider, "Microsoft.Jet.OLEDB") || BeginsWith(provider, "Microsoft.ACE.OLEDB");
}

bool IsSqlServerProvider(const std::string& provider) {
  return BeginsWith(provider, "SQLOLEDB") || BeginsWith(provider, "SQLNCLI") ||
         BeginsWith(provider, "MSOLEDBSQL");
}

/// The driver's name and keywords from the provider's section; for SQL Server a default.
ServerAddress PlaceByProvider(const Settings& settings, const std::string& provider) {
  ServerAddress place;
  if (const ProviderSettings* found = settings.FindProvider(provider)) {
    place.driver = found->driver;
    place.options = found->options;
  } else if (IsSqlServerProvider(provider)) {
    place.driver = kSqlServerDriver;
  }
  return place;
}

std::string Take(std::map<std::string, std::string>& options, const std::string& key) {
  const auto found = options.find(key);
  if (found == options.end()) return "";
  std::string value = found->second;
  options.erase(found);
  return value;
}

/// Reads "HOST", "HOST,PORT", "HOST\INSTANCE", each with "tcp:" before it; "." and "(local)" are
/// this machine.
void SetHost(ServerAddress& place, std::string text) {
  if (BeginsWith(text, "tcp:")) text.erase(0, 4);
  const std::size_t comma = text.rfind(',');
  if (comma != std::string::npos) {
    place.port = text.substr(comma + 1);
    text.erase(comma);
  }
  const std::string machine = text.substr(0, text.find('\\'));
  if (machine == "." || EqualsIgnoringCase(machine, "(local)"))
    text.replace(0, machine.size(), "localhost");
  place.host = text;
}

ServerAddress PlaceOfSection(const Settings& settings, const std::string& provider,
                             const std::string& server, const ServerSettings& section,
                             const DataSourceDriver& driverOf) {
  ServerAddress place;
  place.options = section.options;
  place.logon = section.logon;
  place.dataSource = Take(place.options, "dsn");
  place.driver = Take(place.options, "driver");
  const std::string host = Take(place.options, "host");
  const std::string port = Take(place.options, "port");
  place.database = Take(place.options, "database");
  if (!place.dataSource.empty()) {
    place.driver = driverOf(place.dataSource);
  } else {
    if (place.driver.empty()) place.driver = PlaceByProvider(settings, provider).driver;
    SetHost(place, host.empty() ? server : host);
  }
  if (!port.empty()) place.port = port;
  return place;
}

/// A data source may say more than a library of the server's own understands.
ServerPlace PlaceByOdbc(const ServerAddress& place) {
  const bool isPostgreSql =
      place.dataSource.empty() && FamilyOf(place.driver) == DriverFamily::PostgreSql;
  return {isPostgreSql ? ServerPlace::Kind::PostgreSql : ServerPlace::Kind::Odbc, "", place};
}

std::string FilePath(const Settings& settings, const std::string& path) {
  std::error_code error;
  const PathMap paths = settings.Paths();
  std::string linuxPath = paths.ToLinux(path, error);
  if (error) throw PlatformError(error.value(), path + ": " + error.message(), kSource);
  return linuxPath;
}

PlatformError NoDriver(const std::string& provider, const std::string& server) {
  const std::string section = provider.empty() ? "" : " or [provider " + provider + "]";
  return PlatformError(0,
                       "the server \"" + server +
                           "\" is not known: it is no ODBC data source, and nothing says which "
                           "driver reaches it; add a section [server " +
                           server + "]" + section + " with driver = NAME to torvik.conf",
                       kSource);
}

}  // namespace

ServerPlace FindServerPlace(const Settings& settings, const std::string& provider,
                            const std::string& server, const DataSourceDriver& driverOf) {
  using Kind = ServerPlace::Kind;
  if (const ServerSettings* section = settings.FindServer(server)) {
    if (section->backend == "embedded")
      return {Kind::Embedded, section->directory, {}, section->durability};
    ServerAddress place = PlaceOfSection(settings, provider, server, *section, driverOf);
    if (section->backend == "postgresql") {
      place.driver.clear();
      return {Kind::PostgreSql, "", place};
    }
    if (place.driver.empty() && place.dataSource.empty()) throw NoDriver(provider, server);
    return PlaceByOdbc(place);
  }
  if (IsFileProvider(provider) && settings.FindProvider(provider) == nullptr)
    return {Kind::TableFile, FilePath(settings, server), {}};
  ServerAddress place = PlaceByProvider(settings, provider);
  if (const std::string driver = driverOf(server); !driver.empty()) {
    place.dataSource = server;
    place.driver = driver;
    place.options.clear();
    return {Kind::Odbc, "", place};
  }
  if (place.driver.empty()) throw NoDriver(provider, server);
  SetHost(place, server);
  return PlaceByOdbc(place);
}

}  // namespace torvik
