#pragma once

#include <string>
#include <vector>

#include "import/PackageContainer.h"
#include "migrate/AgentJob.h"
#include "migrate/Places.h"

namespace torvik::migrate {

/// A package that the old server stores.
struct OldPackage {
  std::string name;
  int versions = 0;
  std::string created, owner;  ///< Of the latest version.
};

/// A data link of a warehouse.
struct OldLink {
  std::string database, model, name;
  std::string source;  ///< Its server, file or directory.
  std::string remote;  ///< Where its remote data comes from.
};

/// A job file, or a batch file with dtsrun lines.
struct OldJobFile {
  std::string path, package, server;
  std::string warehouseServer, database;  ///< Of the warehouse; a batch file names none.
  std::string problem;                    ///< Why it could not be read.
};

/// A package in a file.
struct OldPackageFile {
  std::string path;
  std::vector<importing::ContainedPackage> contained;  ///< Of structured storage.
  std::string name;                                    ///< Of the package that a text builds.
  std::string problem;
};

/// What an old installation has.
struct Inventory {
  std::string server;
  std::vector<OldPackage> packages;
  std::vector<AgentJob> agentJobs;
  std::vector<OldLink> links;
  std::vector<OldJobFile> jobFiles;
  std::vector<OldPackageFile> packageFiles;
  Places places;
  std::vector<std::string> unread;  ///< What could not be read, and why.

  std::vector<std::string> here;      ///< The packages that are here already.
  std::vector<std::string> jobsHere;  ///< The packages that job files here run.
};

/// Letter case aside.
bool Has(const std::vector<std::string>& names, const std::string& name);

/// How far a package has come.
enum class PackageState { Here, SavedAsText, ToBeSaved };
PackageState StateOf(const Inventory& inventory, const std::string& package);
const char* WordsOf(PackageState state);

/// The packages of the server and those that files and dtsrun lines name, each once, by name.
std::vector<std::string> PackagesOf(const Inventory& inventory);

}  // namespace torvik::migrate
