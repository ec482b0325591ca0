#include "engine/model/Connections.h"

#include <algorithm>

#include "engine/model/Problems.h"
#include "engine/model/Variables.h"
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

std::string ConnectionSettings::DatabaseInWords() const {
  const std::string* server = Find("Data Source");
  const std::string* database = Find("Initial Catalog");
  const std::string of = server == nullptr ? "" : *server;
  if (database == nullptr || database->empty()) return "the database of " + of;
  return "the database " + *database + " of " + of;
}

ConnectionSettings ResolveConnection(const PackageModel& package, const std::string& name,
                                     const Variables& variables, const FileServices* services) {
  const auto model = std::find_if(package.connections.begin(), package.connections.end(),
                                  [&](const ConnectionModel& one) { return one.name == name; });
  ConnectionSettings settings{model->provider, {}};
  for (const ConnectionProperty& property : model->properties)
    settings.properties.emplace_back(property.name, variables.Substitute(property.value.text));
  if (model->dataLinkFile && services != nullptr)
    ReadDataLinkFile(*services, variables.Substitute(model->dataLinkFile->text), settings);
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
    throw error.Saying("the connection " + Quoted(name) + " cannot be opened: " + error.what());
  }
  return connection;
}

std::string LostTransaction(const std::string& step, const std::string& connection) {
  return "behind step " + Quoted(step) + " a transaction is open on the connection " +
         Quoted(connection) +
         ", and nothing of it is kept: end it with COMMIT, or write join_transaction = true in "
         "place of BEGIN";
}

Connections::Connections(ado::Provider& databases) : databases_(databases) {}
Connections::~Connections() = default;

std::unique_ptr<ado::Connection> Connections::Take(const std::string& name,
                                                   const ConnectionSettings& settings, bool anew) {
  // Opening and closing take as long as a server takes, and happen outside the lock.
  std::vector<Idle> outdated;
  {
    const std::lock_guard lock(mutex_);
    Free& free = free_[name];
    if (anew || !(free.settings == settings)) {
      outdated.swap(free.connections);
      free.settings = settings;
    } else if (!free.connections.empty()) {
      auto connection = std::move(free.connections.back().connection);
      free.connections.pop_back();
      return connection;
    }
  }
  for (const Idle& one : outdated)
    if (!one.openBehind.empty())
      throw PlatformError(0, LostTransaction(one.openBehind, name), "package engine");
  outdated.clear();
  return OpenDatabase(databases_, name, settings);
}

void Connections::GiveBack(const std::string& name, const ConnectionSettings& settings,
                           std::unique_ptr<ado::Connection> connection,
                           const std::string& openBehind) {
  const std::lock_guard lock(mutex_);
  Free& free = free_[name];
  if (free.settings == settings) {
    free.connections.push_back({std::move(connection), openBehind});
  } else if (!openBehind.empty()) {
    lost_ = LostTransaction(openBehind, name);  // another step has changed the settings meanwhile
  }
}

std::string Connections::OpenTransaction() const {
  const std::lock_guard lock(mutex_);
  if (!lost_.empty()) return lost_;
  for (const auto& [name, free] : free_)
    for (const Idle& one : free.connections)
      if (!one.openBehind.empty()) return LostTransaction(one.openBehind, name);
  return "";
}

}  // namespace torvik::engine
