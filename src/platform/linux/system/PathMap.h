#pragma once

#include <map>
#include <memory>
#include <string>
#include <system_error>

namespace torvik {

class UnmappedPlaces;

/// Turns a path of either spelling into a Linux path. '\' and '/' both separate; "X:\a" leads to
/// the directory of the drive, "\\server\share\a" to that of the share. "//server/share" is a Linux
/// path. There are no device names, and letter case counts behind the drive or share. The map can
/// be copied; its error codes are good as long as one copy lives.
class PathMap {
 public:
  /// No drive and no share is mapped.
  PathMap();

  /// `drives` is keyed by small letter ("c"), `shares` by the share in small letters
  /// ("\\files\incoming"); both give directories. A drive that is not among them is the directory
  /// of its letter in `otherDrives`, made when it is first used; none when that is empty.
  PathMap(std::map<std::string, std::string> drives, std::map<std::string, std::string> shares,
          std::string otherDrives);

  /// The Linux path; empty, and `error` set, for a share or drive without a directory and for a
  /// path that holds a NUL character.
  std::string ToLinux(const std::string& path, std::error_code& error) const;

  /// True for the root of the file system, of a drive or of a share, and for the empty text; "."
  /// and
  /// ".." are followed by their names alone.
  bool IsRoot(const std::string& path) const;

  /// The directory that the settings give to the drive or share of the path; empty when they give
  /// none.
  std::string MappedDirectory(const std::string& path) const;

  /// True for a path "\\server\..." that no share of the settings leads to a directory.
  bool IsUnmappedShare(const std::string& path) const;

 private:
  std::string DirectoryOfDrive(char letter, std::error_code& error) const;
  std::string DirectoryOfShare(const std::string& share, std::error_code& error) const;

  std::map<std::string, std::string> drives_;
  std::map<std::string, std::string> shares_;
  std::string otherDrives_;
  std::shared_ptr<UnmappedPlaces> unmapped_;
};

}  // namespace torvik
