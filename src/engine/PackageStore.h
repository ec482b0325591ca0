#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/PlatformError.h"

namespace torvik {

namespace ado {
class Connection;
class Provider;
}  // namespace ado
class Clock;

namespace engine {

/// Where packages are stored, and as whom to go there.
struct StoreLogon {
  std::string server;
  bool trusted = true;  ///< User and password are not sent.
  std::string user = {};
  std::string password = {};
};

struct StoredPackage {
  std::string name;
  std::string versionId;
  std::string text;  ///< The document.
  std::string id;    ///< The same for all versions.
};

struct PackageSummary {
  std::string name;
  std::string description;  ///< Of the latest version.
  int versions = 0;
  std::string createDate;  ///< Of the latest version: "YYYY-MM-DD HH:MM:SS.mmm", UTC.
};

struct VersionSummary {
  std::string versionId;
  std::string createDate;  ///< As of a package.
  std::string owner;
  std::string description;
};

/// A connection to the server's msdb database; throws PlatformError.
std::unique_ptr<ado::Connection> OpenStore(ado::Provider& databases, const StoreLogon& logon);

/// The packages of a server: its table msdb.dbo.sysdtspackages, in which every save adds a version.
/// What fails throws PlatformError.
class PackageStore {
 public:
  /// Opens the server's msdb database.
  PackageStore(ado::Provider& databases, const StoreLogon& logon);
  ~PackageStore();

  /// Adds a version, which becomes the latest one; answers its identifier.
  std::string Save(const std::string& name, const std::string& description, const std::string& text,
                   Clock& clock);

  /// The version of that identifier, or the latest one when it is empty.
  StoredPackage Load(const std::string& name, const std::string& versionId = {});

  /// By name.
  std::vector<PackageSummary> List();

  /// The latest first; of those of one instant the one that Load takes.
  std::vector<VersionSummary> Versions(const std::string& name);

  /// Removes every version; answers how many there were.
  int Remove(const std::string& name);

  /// Removes all but the latest `keep` versions, one or more; answers how many it were.
  int Prune(const std::string& name, std::size_t keep);

 private:
  std::string NamedAs(const std::string& name) const;
  std::string LatestOf(const std::string& name) const;
  PlatformError NoSuchPackage(const std::string& name, const std::string& versionId = {}) const;

  std::string server_;
  std::string owner_;  ///< Of the versions that are saved.
  std::unique_ptr<ado::Connection> connection_;
};

}  // namespace engine
}  // namespace torvik
