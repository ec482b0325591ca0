#include "platform/linux/settings/RegistryFile.h"

#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>

#include "platform/Text.h"
#include "platform/linux/settings/RegistryText.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ReplaceFile.h"

namespace torvik {
namespace {

using namespace registry;

constexpr mode_t kFileMode = 0600;

/// A key's path holds no line break and no character of the file's own form.
bool IsPath(const std::string& path) {
  return !path.empty() &&
         std::ranges::none_of(path, [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

class RegistryFile final : public Registry {
 public:
  explicit RegistryFile(std::string directory) : directory_(std::move(directory)) {}

  std::int32_t RegCreateKeyExA(std::uint32_t hive, const std::string& path, std::uint32_t access,
                               RegistryKey& key) override {
    if (hive != kLocalMachine || access != kAllAccess || !IsPath(path)) return kAccessDenied;
    if (MakePrivateDirectory(directory_)) return kAccessDenied;
    const std::int32_t result = Change([&](Hive& all) {
      all.Make(path);
      return kSuccess;
    });
    if (result == kSuccess) key = Keep(path);
    return result;
  }

  std::int32_t RegOpenKeyExA(std::uint32_t hive, const std::string& path, std::uint32_t access,
                             RegistryKey& key) override {
    if (hive != kLocalMachine || !IsPath(path)) return kFileNotFound;
    Hive all;
    if (const std::int32_t result = Read(all)) return result;
    if (all.Find(path) == nullptr) return kFileNotFound;
    if (access == kAllAccess && !MayWrite()) return kAccessDenied;
    key = Keep(path);
    return kSuccess;
  }

  std::int32_t RegQueryValueExA(RegistryKey key, const std::string& name, char* buffer,
                                std::uint32_t& size) override {
    Hive all;
    if (const std::int32_t result = Read(all)) return result;
    const Hive::Key* const found = Find(all, key);
    if (found == nullptr) return kInvalidHandle;
    const auto value = found->values.find(LowerAscii(name));
    if (value == found->values.end()) return kFileNotFound;
    const std::string& data = value->second.data;
    const auto length = static_cast<std::uint32_t>(data.size());
    if (buffer != nullptr) data.copy(buffer, std::min(size, length));
    size = buffer != nullptr ? std::min(size, length) : length;
    return kSuccess;
  }

  std::int32_t RegSetValueExA(RegistryKey key, const std::string& name, std::uint32_t type,
                              std::string_view data) override {
    if (type != kText) return kCannotWrite;
    return Change([&](Hive& all) {
      Hive::Key* const found = Find(all, key);
      if (found == nullptr) return kInvalidHandle;
      found->Set(name, data);
      return kSuccess;
    });
  }

  std::int32_t RegDeleteValueA(RegistryKey key, const std::string& name) override {
    return Change([&](Hive& all) {
      Hive::Key* const found = Find(all, key);
      if (found == nullptr) return kInvalidHandle;
      return found->values.erase(LowerAscii(name)) == 1 ? kSuccess : kFileNotFound;
    });
  }

  std::int32_t RegDeleteKeyA(RegistryKey key, const std::string& subkey) override {
    return Change([&](Hive& all) {
      const Hive::Key* const found = Find(all, key);
      if (found == nullptr) return kInvalidHandle;
      const std::string path = found->path + "\\" + subkey;
      if (subkey.empty() || all.Find(path) == nullptr) return kFileNotFound;
      if (all.HasKeysBelow(path)) return kAccessDenied;
      all.keys.erase(LowerAscii(path));
      return kSuccess;
    });
  }

  std::int32_t RegCloseKey(RegistryKey key) override {
    return open_.erase(key) == 1 ? kSuccess : kInvalidHandle;
  }

 private:
  std::string Path() const { return directory_ + "/HKEY_LOCAL_MACHINE.reg"; }

  RegistryKey Keep(const std::string& path) {
    open_[++last_] = path;
    return last_;
  }

  Hive::Key* Find(Hive& all, RegistryKey key) {
    const auto open = open_.find(key);
    return open == open_.end() ? nullptr : all.Find(open->second);
  }

  /// A signal does not end the wait.
  static bool Lock(const Descriptor& file) {
    int result;
    do {
      result = flock(file.Number(), LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
  }

  bool MayWrite() const {
    const auto may = [](const std::string& path) {
      return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
    };
    return may(directory_) && may(Path());
  }

  /// A file that is not there holds nothing.
  std::int32_t Read(Hive& all, std::string& text) const {
    const std::error_code error = ReadFile(Path(), text);
    if (error == std::errc::no_such_file_or_directory) return kSuccess;
    if (error) return error == std::errc::permission_denied ? kAccessDenied : kCannotOpen;
    return ReadHive(text, all) ? kSuccess : kCannotOpen;
  }

  std::int32_t Read(Hive& all) const {
    std::string text;
    return Read(all, text);
  }

  /// Reads, changes and writes while no other process does.
  template <typename Work>
  std::int32_t Change(const Work& work) {
    const Descriptor lock = OpenFile(directory_ + "/lock", O_RDWR | O_CREAT, kFileMode);
    if (!lock.IsOpen() || !Lock(lock)) return kAccessDenied;
    Hive all;
    std::string before;
    if (const std::int32_t result = Read(all, before)) return result;
    if (const std::int32_t result = work(all)) return result;
    const std::string after = WriteHive(all);
    if (after == before) return kSuccess;
    const std::error_code error = ReplaceFile(Path(), after, kFileMode);
    if (!error) return kSuccess;
    return error == std::errc::permission_denied ? kAccessDenied : kCannotWrite;
  }

  const std::string directory_;
  std::map<RegistryKey, std::string> open_;
  RegistryKey last_ = 0;
};

}  // namespace

std::unique_ptr<Registry> NewRegistryFile(std::string directory) {
  return std::make_unique<RegistryFile>(std::move(directory));
}

}  // namespace torvik
