#pragma once

#include <string>
#include <vector>

namespace torvik {

/// A database of an embedded server: the file NAME.db in the server's directory.
struct EmbeddedDatabase {
  std::string name;
  std::string path;
};

/// Why a text cannot be the name of a database; empty when it can.
std::string UnfitDatabaseName(const std::string& name);

/// The databases in `directory`, by name; none when it cannot be read.
std::vector<EmbeddedDatabase> EmbeddedDatabases(const std::string& directory);

/// The database of that name, letter case aside. Throws PlatformError, naming the directory and
/// what it has, when there is none.
EmbeddedDatabase RequireEmbeddedDatabase(const std::string& directory, const std::string& name);

}  // namespace torvik
