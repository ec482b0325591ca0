#include "config/FileUtils.h"

#include "platform/Files.h"

namespace torvik {
namespace {

std::string& AddTrailing(std::string& path, char separator) {
  if (path.empty() || (path.back() != '\\' && path.back() != '/')) path += separator;
  return path;
}

}  // namespace

bool FileExists(Files& files, const std::string& path) {
  std::uint64_t length = 0;
  return !files.Size(path, length);
}

std::string FileNameOf(const std::string& path) {
  const std::string name = path.substr(path.find_last_of("\\/") + 1);
  const std::size_t first = name.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return name.substr(first, name.find_last_not_of(' ') - first + 1);
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.find_last_of("\\/") + 1);
}

std::string& AddTrailingSeparator(std::string& path) {
  return AddTrailing(path, '\\');
}

std::string& AddTrailingSlash(std::string& path) {
  return AddTrailing(path, '/');
}

}  // namespace torvik
