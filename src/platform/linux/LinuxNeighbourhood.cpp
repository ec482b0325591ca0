#include "platform/linux/LinuxNeighbourhood.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>

#include "platform/PlatformError.h"
#include "platform/linux/odbc/OdbcDataSources.h"
#include "platform/linux/shares/SmbServers.h"
#include "platform/linux/system/DirectoryEntries.h"
#include "platform/linux/system/ProgramBeside.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

class LinuxNeighbourhood final : public Neighbourhood {
 public:
  LinuxNeighbourhood(const Settings& settings, const PathMap& paths)
      : settings_(settings), paths_(paths), servers_(settings) {}

  std::vector<std::string> KnownServers() override {
    std::set<std::string> names = {"(local)"};
    for (const auto& [name, server] : settings_.servers) names.insert(name);
    for (const std::string& name : OdbcDataSources()) names.insert(name);
    return {names.begin(), names.end()};
  }

  std::vector<std::string> NetworkCommand() override {
    const std::string admin = ProgramBeside("torvik-admin");
    if (admin.empty()) return {};
    return {admin, "network", "list"};
  }

  std::vector<std::string> FolderRoots() override {
    std::vector<std::string> roots;
    for (const auto& [letter, directory] : settings_.drives)
      roots.push_back({static_cast<char>(std::toupper(letter[0])), ':', '\\'});
    for (const auto& [share, directory] : settings_.shares) roots.push_back(share);
    roots.emplace_back("/");
    return roots;
  }

  std::error_code SubFolders(const std::string& folder, std::vector<std::string>& names) override {
    std::error_code error;
    if (paths_.IsUnmappedShare(folder))
      error = ShareFolders(folder, names);
    else
      error = LocalFolders(folder, names);
    std::ranges::sort(names);
    return error;
  }

  std::string LinuxPath(const std::string& path) override {
    std::error_code error;
    const std::string mapped = paths_.ToLinux(path, error);
    return error ? path : mapped;
  }

 private:
  std::error_code LocalFolders(const std::string& folder, std::vector<std::string>& names) const {
    std::error_code error;
    const std::string path = paths_.ToLinux(folder, error);
    if (error) return error;
    for (const std::string& name : DirectoryEntries(path, error)) {
      std::error_code unknown;
      if (fs::is_directory(fs::path(path) / name, unknown) && !name.starts_with('.'))
        names.push_back(name);
    }
    return error;
  }

  std::error_code ShareFolders(const std::string& folder, std::vector<std::string>& names) {
    const auto place = ParseUncPath(folder);
    if (!place) return std::make_error_code(std::errc::invalid_argument);
    const FileFailure failure = servers_.Do(*place, [&](SmbSession& session) {
      names.clear();
      return session.ListFolders(place->InServer(), names);
    });
    return failure.error;
  }

  const Settings settings_;
  const PathMap paths_;
  SmbServers servers_;
};

}  // namespace

std::unique_ptr<Neighbourhood> NewLinuxNeighbourhood(const Settings& settings,
                                                     const PathMap& paths) {
  return std::make_unique<LinuxNeighbourhood>(settings, paths);
}

}  // namespace torvik
