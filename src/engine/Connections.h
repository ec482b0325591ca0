#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/PackageModel.h"

namespace torvik::ado {
class Connection;
class Provider;
}  // namespace torvik::ado

namespace torvik::engine {

class Variables;

/// A connection's provider and properties with every `${Name}` replaced.
struct ConnectionSettings {
  std::string provider;
  std::vector<std::pair<std::string, std::string>> properties;  ///< In the order of the document.

  /// Null when the property is not given.
  const std::string* Find(std::string_view property) const;
  /// True when both lead to one database as one user, whatever else they ask for.
  bool SameDatabase(const ConnectionSettings& other) const;

  bool operator==(const ConnectionSettings&) const = default;
};

/// The settings of the package's connection of that name, which must be there.
ConnectionSettings ResolveConnection(const PackageModel& package, const std::string& name,
                                     const Variables& variables);

/// Opens a database. Throws the server's own words after the connection's name.
std::unique_ptr<ado::Connection> OpenDatabase(ado::Provider& databases, const std::string& name,
                                              const ConnectionSettings& settings);

/// The databases that unjoined steps use, each opened on first use and held until the package ends.
class Connections {
 public:
  explicit Connections(ado::Provider& databases);
  ~Connections();

  /// The connection called `name`; opened anew when its settings have changed since.
  ado::Connection& Use(const std::string& name, const ConnectionSettings& settings);

 private:
  struct Held {
    ConnectionSettings settings;
    std::unique_ptr<ado::Connection> connection;
  };
  ado::Provider& databases_;
  std::map<std::string, Held> held_;
};

}  // namespace torvik::engine
