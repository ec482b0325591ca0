#include "platform/linux/system/PathMap.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/system/Posix.h"

namespace torvik {

/// The errors of paths that lead nowhere. An error code is a number, so each place gets one.
class UnmappedPlaces final : public std::error_category {
 public:
  const char* name() const noexcept override { return "path"; }

  std::string message(int number) const override {
    const std::lock_guard lock(mutex_);
    return "no directory is mapped for the " + places_.at(static_cast<std::size_t>(number) - 1) +
           "; add it to [paths] of torvik.conf";
  }

  /// `place` is "share \\server\share" or "drive X:".
  std::error_code ErrorOf(const std::string& place) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find(places_.begin(), places_.end(), place);
    const auto number = found - places_.begin() + 1;
    if (found == places_.end()) places_.push_back(place);
    return {static_cast<int>(number), *this};
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> places_;
};

namespace {

constexpr const char* kSeparators = "\\/";

bool BeginsWithDrive(const std::string& path) {
  const char letter = path.empty() ? ' ' : LowerAscii(path[0]);
  return path.size() >= 2 && path[1] == ':' && letter >= 'a' && letter <= 'z';
}

/// The length of "\\server\share" at the start of a path.
std::size_t ShareLength(const std::string& path) {
  const std::size_t serverEnd = std::min(path.find_first_of(kSeparators, 2), path.size());
  return std::min(path.find_first_of(kSeparators, serverEnd + 1), path.size());
}

/// The share as the map knows it.
std::string ShareKey(const std::string& share) {
  std::string key = LowerAscii(share);
  std::replace(key.begin(), key.end(), '/', '\\');
  return key;
}

/// The length of what a path begins with that stands for a directory: a drive or a share.
std::size_t MappedLength(const std::string& path) {
  if (BeginsWithDrive(path)) return 2;
  return path.starts_with("\\\\") ? ShareLength(path) : 0;
}

/// A path without separators at its end, "." and "..".
std::string Normal(const std::string& path) {
  std::string normal = std::filesystem::path(path).lexically_normal().string();
  while (normal.size() > 1 && normal.ends_with('/')) normal.pop_back();
  return normal;
}

/// `directory` and what follows it on the path, '/' between its parts.
std::string Below(const std::string& directory, std::string rest) {
  std::replace(rest.begin(), rest.end(), '\\', '/');
  if (directory.empty() || rest.empty() || rest[0] == '/') return directory + rest;
  return directory + "/" + rest;
}

}  // namespace

PathMap::PathMap() : PathMap({}, {}, {}) {}

PathMap::PathMap(std::map<std::string, std::string> drives,
                 std::map<std::string, std::string> shares, std::string otherDrives)
    : drives_(std::move(drives)),
      shares_(std::move(shares)),
      otherDrives_(std::move(otherDrives)),
      unmapped_(std::make_shared<UnmappedPlaces>()) {}

std::string PathMap::ToLinux(const std::string& path, std::error_code& error) const {
  error.clear();
  std::string directory;
  const std::size_t mapped = MappedLength(path);
  if (path.find('\0') != std::string::npos) {
    error = std::make_error_code(std::errc::invalid_argument);
  } else if (BeginsWithDrive(path)) {
    directory = DirectoryOfDrive(path[0], error);
  } else if (mapped > 0) {
    directory = DirectoryOfShare(path.substr(0, mapped), error);
  }
  return error ? std::string() : Below(directory, path.substr(mapped));
}

bool PathMap::IsRoot(const std::string& path) const {
  const std::size_t mapped = MappedLength(path);
  const bool isFromTop = mapped > 0 || path.find_first_of(kSeparators) == 0;
  if (path.empty() || (isFromTop && Normal(Below("/", path.substr(mapped))) == "/")) return true;
  const std::string linuxPath = Normal(Below(MappedDirectory(path), path.substr(mapped)));
  const auto leadsThere = [&](const auto& place) { return Normal(place.second) == linuxPath; };
  return std::any_of(drives_.begin(), drives_.end(), leadsThere) ||
         std::any_of(shares_.begin(), shares_.end(), leadsThere);
}

std::string PathMap::MappedDirectory(const std::string& path) const {
  if (BeginsWithDrive(path)) {
    const auto drive = drives_.find(std::string(1, LowerAscii(path[0])));
    return drive == drives_.end() ? "" : drive->second;
  }
  const auto share = shares_.find(ShareKey(path.substr(0, MappedLength(path))));
  return share == shares_.end() ? "" : share->second;
}

std::string PathMap::DirectoryOfDrive(char letter, std::error_code& error) const {
  const std::string drive(1, LowerAscii(letter));
  if (const auto found = drives_.find(drive); found != drives_.end()) return found->second;
  if (otherDrives_.empty()) {
    error = unmapped_->ErrorOf("drive " + std::string(1, letter) + ":");
    return {};
  }
  // The root of a drive is always there, so a file may be made in it. Without the right to make it,
  // the use of the path says why.
  MakePrivateDirectory(otherDrives_ + "/" + drive);
  return otherDrives_ + "/" + drive;
}

bool PathMap::IsUnmappedShare(const std::string& path) const {
  return path.starts_with("\\\\") && !shares_.contains(ShareKey(path.substr(0, ShareLength(path))));
}

std::string PathMap::DirectoryOfShare(const std::string& share, std::error_code& error) const {
  if (const auto found = shares_.find(ShareKey(share)); found != shares_.end())
    return found->second;
  error = unmapped_->ErrorOf("share " + share);
  return {};
}

}  // namespace torvik
