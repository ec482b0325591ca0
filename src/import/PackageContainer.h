#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::importing {

/// How many parts a package has.
struct PartCounts {
  int steps = 0, tasks = 0, connections = 0, variables = 0;
};

struct ContainedVersion {
  std::string id;                   ///< A GUID without braces.
  std::string created;              ///< "YYYY-MM-DD HH:MM:SS"; empty when it is no date.
  std::string server;               ///< The version of the server that made it: "8.0.760".
  std::optional<PartCounts> parts;  ///< None when what holds them is damaged.
};

struct ContainedPackage {
  std::string id, name, created;  ///< As of a version.
  std::vector<ContainedVersion> versions;
};

/// True when the bytes begin as those of a package in structured storage.
bool IsPackageContainer(std::string_view bytes);

/// What is in clear of the packages of a structured storage file (.dts); what they do is encrypted.
/// Throws PlatformError, which names `file`, when it is damaged or holds no packages.
std::vector<ContainedPackage> ReadPackageContainer(const std::string& file, std::string_view bytes);

/// The same in words, a line for each package and version, without a line break at the end.
std::string WordsOf(const std::vector<ContainedPackage>& packages);

}  // namespace torvik::importing
