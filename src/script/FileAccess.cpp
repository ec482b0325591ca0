#include "script/FileAccess.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/Text.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

/// The root of an absolute path, in its length: "/", "C:\", "\\"; 0 for a relative path.
std::size_t RootLength(std::string_view path) {
  if (path.size() > 1 && IsSeparator(path[0]) && IsSeparator(path[1])) return 2;
  if (!path.empty() && IsSeparator(path[0])) return 1;
  const char drive = path.empty() ? ' ' : LowerAscii(path[0]);
  const bool hasDrive = path.size() > 2 && drive >= 'a' && drive <= 'z' && path[1] == ':';
  return hasDrive && IsSeparator(path[2]) ? 3 : 0;
}

/// The path without "." and ".."; empty when it is relative or leaves its root.
std::string Normalized(std::string_view path) {
  const std::size_t root = RootLength(path);
  if (root == 0 || path.find('\0') != std::string_view::npos) return {};
  const char separator = path[root - 1];
  std::vector<std::string_view> parts;
  for (std::size_t at = root; at < path.size();) {
    const std::size_t end = std::min(path.find_first_of("/\\", at), path.size());
    const std::string_view part = path.substr(at, end - at);
    at = end + 1;
    if (part == "..") {
      if (parts.empty()) return {};
      parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
  }
  std::string result(path.substr(0, root));
  for (std::size_t i = 0; i < parts.size(); ++i)
    result.append(i == 0 ? 0 : 1, separator).append(parts[i]);
  return result;
}

/// With '/' for all separators and at the end, the drive in lower case.
std::string Comparable(std::string path) {
  std::ranges::replace(path, '\\', '/');
  if (path.size() > 1 && path[1] == ':') path[0] = LowerAscii(path[0]);
  if (!path.ends_with('/')) path += '/';
  return path;
}

int NumberOf(const std::error_code& error) {
  if (error == std::errc::no_such_file_or_directory) return 53;
  if (error == std::errc::not_a_directory) return 76;
  if (error == std::errc::file_exists) return 58;
  if (error == std::errc::permission_denied) return 70;
  if (error == std::errc::no_space_on_device) return 61;
  return 75;
}

}  // namespace

FileAccess::FileAccess(Files& files, const CodePage& codePage,
                       const std::vector<std::string>& directories)
    : files_(files), codePage_(codePage) {
  for (const std::string& directory : directories) {
    const std::string path = Normalized(directory);
    if (!path.empty()) directories_.push_back(Comparable(path));
  }
}

std::string FileAccess::Allowed(const std::string& path) const {
  std::string normal = Normalized(path);
  const std::string comparable = Comparable(normal);
  const bool isAllowed =
      !normal.empty() && std::ranges::any_of(directories_, [&](const std::string& directory) {
        return comparable.starts_with(directory);
      });
  if (!isAllowed)
    throw ScriptError(
        70, DescriptionOf(70) + ": '" + path + "' is not below a directory that scripts may use");
  return normal;
}

bool FileAccess::FileExists(const std::string& path) const {
  FileStatus status;
  return !files_.Status(path, status);
}

bool FileAccess::FolderExists(const std::string& path) const {
  std::vector<std::string> names;
  return !files_.ListFiles(path, names);
}

void ThrowIfFailed(const std::error_code& error, const std::string& path) {
  if (!error) return;
  const int number = NumberOf(error);
  throw ScriptError(number, DescriptionOf(number) + ": '" + path + "' (" + error.message() + ")");
}

std::string_view FileNameOf(std::string_view path) {
  while (!path.empty() && IsSeparator(path.back())) path.remove_suffix(1);
  return path.substr(path.find_last_of("/\\:") + 1);
}

std::string_view ParentFolderOf(std::string_view path) {
  const std::size_t root = RootLength(path);
  while (path.size() > root && IsSeparator(path.back())) path.remove_suffix(1);
  const std::size_t at = path.find_last_of("/\\");
  if (at == std::string_view::npos || path.size() <= root) return {};
  return path.substr(0, std::max(at, root));
}

std::string JoinedPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  const bool isLinux =
      folder.find('\\') == std::string_view::npos && folder.find('/') != std::string_view::npos;
  if (!path.empty() && !IsSeparator(path.back()) && path.back() != ':')
    path += isLinux ? '/' : '\\';
  while (!path.empty() && !name.empty() && IsSeparator(name[0])) name.remove_prefix(1);
  return path.append(name);
}

}  // namespace torvik::script
