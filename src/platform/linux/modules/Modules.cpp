#include "platform/linux/modules/Modules.h"

#include <dlfcn.h>

#include <filesystem>
#include <string_view>

#include "platform/PlatformError.h"
#include "platform/Version.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

/// Where a module lies; empty when it is not installed.
std::string FindModule(const std::string& file) {
  std::error_code error;
  const fs::path programs = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& place : {programs / file, fs::path(TORVIK_MODULE_DIRECTORY) / file,
                                programs / "../lib/torvik" / file})
    if (fs::exists(place, error)) return place;
  return "";
}

/// Null, and `reason` set, for one that cannot be loaded, and for one of another version, which an
/// upgrade has put there while this program runs.
void* Load(const std::string& path, std::string& reason) {
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    reason = dlerror();
    return nullptr;
  }
  const auto* const version = static_cast<const char*>(dlsym(module, "torvik_module_version"));
  const std::string_view known = version == nullptr ? "an unknown version" : version;
  if (known == kVersion) return module;
  reason = path + " is of torvik " + std::string(known) + ", this program of " + kVersion;
  return nullptr;
}

void* FindAt(const std::string& path, const char* function, std::string& reason) {
  void* const module = Load(path, reason);
  if (module == nullptr) return nullptr;
  void* const found = dlsym(module, function);
  if (found == nullptr) reason = dlerror();
  return found;
}

/// Of a function that the program exports, as the linker spells it.
const char* NameOf(void* function) {
  Dl_info info{};
  dladdr(function, &info);
  return info.dli_sname == nullptr ? "" : info.dli_sname;
}

}  // namespace

void* FindInModule(const std::string& file, const char* function, std::string& reason) {
  const std::string path = FindModule(file);
  if (!path.empty()) return FindAt(path, function, reason);
  reason = file + " is not installed";
  return nullptr;
}

namespace {

/// "..., which is not installed; ..."
std::string NotInstalled(const RoomModule& module) {
  return std::string(module.file) +
         ", which is not installed; a build makes it when it finds the libraries that "
         "scripts/install-packages build installs";
}

std::string NotLoaded(const RoomModule& module, const std::string& reason) {
  return std::string(module.file) + ", which cannot be loaded: " + reason + "; install " +
         module.packages + ", or install the programs and their modules anew";
}

}  // namespace

std::string WhyUnusable(const RoomModule& module) {
  const std::string path = FindModule(module.file);
  if (path.empty()) return NotInstalled(module);
  std::string reason;
  return Load(path, reason) == nullptr ? NotLoaded(module, reason) : "";
}

void* FindInModule(const RoomModule& module, void* standIn, const std::string& subject) {
  const std::string path = FindModule(module.file);
  if (path.empty()) throw PlatformError(0, subject + " needs " + NotInstalled(module), "modules");
  std::string reason;
  void* const found = FindAt(path, NameOf(standIn), reason);
  if (found == nullptr)
    throw PlatformError(0, subject + " needs " + NotLoaded(module, reason), "modules");
  return found;
}

}  // namespace torvik
