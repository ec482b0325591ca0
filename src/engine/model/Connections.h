#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/model/DataLinkFile.h"
#include "engine/model/PackageModel.h"

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

  /// "the database DW of (local)".
  std::string DatabaseInWords() const;

  bool operator==(const ConnectionSettings&) const = default;
};

/// The settings of the package's connection of that name, which must be there. `services` reads
/// its data link file, if it has one; null: it is left out. Throws PlatformError when that file
/// cannot be read.
ConnectionSettings ResolveConnection(const PackageModel& package, const std::string& name,
                                     const Variables& variables,
                                     const FileServices* services = nullptr);

/// Opens a database. Throws the server's own words after the connection's name.
std::unique_ptr<ado::Connection> OpenDatabase(ado::Provider& databases, const std::string& name,
                                              const ConnectionSettings& settings);

/// What is said of a transaction that is open behind a step on a connection that is closed.
std::string LostTransaction(const std::string& step, const std::string& connection);

/// The databases that unjoined steps use. A step takes a connection for itself alone and gives it
/// back for later ones; all are closed when the package ends. Safe for several threads.
class Connections {
 public:
  explicit Connections(ado::Provider& databases);
  ~Connections();

  /// The connection called `name` that was given back last, or a new one when all are in use. Those
  /// of the name that have other settings are closed: they have changed since. `anew`: the others
  /// are closed too, since one of them has just failed, and a new one is opened. Throws when an
  /// open transaction is lost so.
  std::unique_ptr<ado::Connection> Take(const std::string& name, const ConnectionSettings& settings,
                                        bool anew = false);

  /// Nothing may still read from it. `openBehind`: the step behind which a transaction that SQL
  /// text has begun is open there; empty: none is.
  void GiveBack(const std::string& name, const ConnectionSettings& settings,
                std::unique_ptr<ado::Connection> connection, const std::string& openBehind);

  /// What is said of a transaction that is open on one of those that were given back, or was when
  /// it was closed; empty when there is none. It ends without a commit when its connection is
  /// closed.
  std::string OpenTransaction() const;

 private:
  struct Idle {
    std::unique_ptr<ado::Connection> connection;
    std::string openBehind;
  };
  struct Free {
    ConnectionSettings settings;
    std::vector<Idle> connections;
  };
  ado::Provider& databases_;
  mutable std::mutex mutex_;
  std::string lost_;
  std::map<std::string, Free> free_;  // by the connections' names
};

}  // namespace torvik::engine
