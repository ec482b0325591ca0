#include "engine/Connections.h"

#include <algorithm>

#include "engine/Problems.h"
#include "engine/Variables.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr int kConnectTimeoutSeconds = 20;
constexpr const char* kIntegratedSecurity = "Integrated Security";

/// A trusted logon may be given by a Boolean variable, and then decides whether user and password
/// are sent.
void SettleLogon(ConnectionSettings& settings) {
  const auto is = [](const char* name) {
    return [name](const auto& property) { return property.first == name; };
  };
  const std::string* security = settings.Find(kIntegratedSecurity);
  if (security == nullptr) return;
  if (security->empty() || EqualsIgnoringCase(*security, "False")) {
    std::erase_if(settings.properties, is(kIntegratedSecurity));
    return;
  }
  std::erase_if(settings.properties, is("User ID"));
  std::erase_if(settings.properties, is("Password"));
  std::find_if(settings.properties.begin(), settings.properties.end(), is(kIntegratedSecurity))
      ->second = "SSPI";
}

}  // namespace

const std::string* ConnectionSettings::Find(std::string_view property) const {
  for (const auto& [name, value] : properties)
    if (name == property) return &value;
  return nullptr;
}

bool ConnectionSettings::SameDatabase(const ConnectionSettings& other) const {
  const auto sameValue = [&](const char* property) {
    const std::string* a = Find(property);
    const std::string* b = other.Find(property);
    return a && b ? *a == *b : a == b;
  };
  return provider == other.provider && sameValue("Data Source") && sameValue("Initial Catalog") &&
         sameValue("User ID") && sameValue(kIntegratedSecurity);
}

ConnectionSettings ResolveConnection(const PackageModel& package, const std::string& name,
                                     const Variables& variables) {
  const auto model = std::find_if(package.connections.begin(), package.connections.end(),
                                  [&](const ConnectionModel& one) { return one.name == name; });
  ConnectionSettings settings{model->provider, {}};
  for (const ConnectionProperty& property : model->properties)
    settings.properties.emplace_back(property.name, variables.Substitute(property.value.text));
  SettleLogon(settings);
  return settings;
}

std::unique_ptr<ado::Connection> OpenDatabase(ado::Provider& databases, const std::string& name,
                                              const ConnectionSettings& settings) {
  auto connection = databases.NewConnection();
  try {
    connection->SetProvider(settings.provider);
    connection->SetConnectionTimeout(kConnectTimeoutSeconds);
    for (const auto& [property, value] : settings.properties)
      connection->SetProperty(property, value);
    connection->Open();
  } catch (const PlatformError& error) {
    throw PlatformError(error.number,
                        "the connection " + Quoted(name) + " cannot be opened: " + error.what(),
                        error.source);
  }
  return connection;
}

Connections::Connections(ado::Provider& databases) : databases_(databases) {}
Connections::~Connections() = default;

ado::Connection& Connections::Use(const std::string& name, const ConnectionSettings& settings) {
  Held& held = held_[name];
  if (held.connection == nullptr || !(held.settings == settings)) {
    held.connection = nullptr;
    held.connection = OpenDatabase(databases_, name, settings);
    held.settings = settings;
  }
  return *held.connection;
}

}  // namespace torvik::engine
