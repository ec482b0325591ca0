#pragma once

#include <algorithm>
#include <map>
#include <string>

#include "platform/Registry.h"
#include "platform/Text.h"

namespace torvik {

/// A registry in memory, of one hive.
struct FakeRegistry final : Registry {
  std::map<std::string, std::map<std::string, std::string>> keys;  // small letters
  bool mayWrite = true;
  std::map<RegistryKey, std::string> open;
  RegistryKey last = 0;

  std::int32_t RegCreateKeyExA(std::uint32_t, const std::string& path, std::uint32_t,
                               RegistryKey& key) override {
    if (!mayWrite) return registry::kAccessDenied;
    const std::string lower = LowerAscii(path);
    for (std::size_t end = lower.find('\\'); end != lower.npos; end = lower.find('\\', end + 1))
      keys[lower.substr(0, end)];
    keys[lower];
    open[key = ++last] = lower;
    return registry::kSuccess;
  }
  std::int32_t RegOpenKeyExA(std::uint32_t, const std::string& path, std::uint32_t,
                             RegistryKey& key) override {
    if (keys.count(LowerAscii(path)) == 0) return registry::kFileNotFound;
    if (!mayWrite) return registry::kAccessDenied;
    open[key = ++last] = LowerAscii(path);
    return registry::kSuccess;
  }
  std::int32_t RegQueryValueExA(RegistryKey key, const std::string& name, char* buffer,
                                std::uint32_t& size) override {
    if (open.count(key) == 0) return registry::kInvalidHandle;
    const auto& values = keys[open[key]];
    const auto value = values.find(LowerAscii(name));
    if (value == values.end()) return registry::kFileNotFound;
    const auto length = static_cast<std::uint32_t>(value->second.size());
    size = buffer ? std::min(size, length) : length;
    if (buffer) value->second.copy(buffer, size);
    return registry::kSuccess;
  }
  std::int32_t RegSetValueExA(RegistryKey key, const std::string& name, std::uint32_t type,
                              std::string_view data) override {
    if (type != registry::kText) return registry::kCannotWrite;
    if (open.count(key) == 0) return registry::kInvalidHandle;
    keys[open[key]][LowerAscii(name)] = data;
    return registry::kSuccess;
  }
  std::int32_t RegDeleteValueA(RegistryKey key, const std::string& name) override {
    if (open.count(key) == 0) return registry::kInvalidHandle;
    return keys[open[key]].erase(LowerAscii(name)) ? registry::kSuccess : registry::kFileNotFound;
  }
  std::int32_t RegDeleteKeyA(RegistryKey key, const std::string& subkey) override {
    if (open.count(key) == 0) return registry::kInvalidHandle;
    const std::string path = open[key] + "\\" + LowerAscii(subkey);
    const auto below = keys.lower_bound(path + "\\");
    if (below != keys.end() && below->first.starts_with(path + "\\"))
      return registry::kAccessDenied;
    return keys.erase(path) ? registry::kSuccess : registry::kFileNotFound;
  }
  std::int32_t RegCloseKey(RegistryKey key) override {
    return open.erase(key) ? registry::kSuccess : registry::kInvalidHandle;
  }
};

}  // namespace torvik
