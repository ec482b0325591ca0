#pragma once

#include <optional>
#include <string>

namespace torvik {

/// A path on a Windows share, "\\server\share\directory\file".
struct UncPath {
  std::string server;  ///< As it is spelled.
  std::string share;
  std::string rest;  ///< "directory/file", without "." and ".."; empty for the share itself.

  /// "\\server\share\directory\file".
  std::string Text() const;
  /// "share/directory/file".
  std::string InServer() const;
  /// The path of the directory that it lies in; the share itself lies in itself.
  UncPath Directory() const;
  /// That of a file in this directory.
  UncPath Below(const std::string& name) const;
};

/// Nothing for a path that does not begin "\\server\share", names no server, or holds a NUL.
/// Behind the first two, '/' separates as well as '\'; ".." ends at the share.
std::optional<UncPath> ParseUncPath(const std::string& path);

}  // namespace torvik
