#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace torvik {

/// An open key; 0 is none.
using RegistryKey = std::uint32_t;

/// Result codes of the registry functions, as the Windows API numbers its errors.
namespace registry {
inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kFileNotFound = 2;  ///< No such key or value.
inline constexpr std::int32_t kAccessDenied = 5;
inline constexpr std::int32_t kInvalidHandle = 6;
inline constexpr std::int32_t kCannotOpen = 1011;  ///< The registry is damaged, or out of order.
inline constexpr std::int32_t kCannotWrite = 1013;

inline constexpr std::uint32_t kLocalMachine = 0x80000002;
inline constexpr std::uint32_t kAllAccess = 0xF003F;
inline constexpr std::uint32_t kText = 1;  ///< The type REG_SZ.
}  // namespace registry

/// The registry functions of the Windows API, by their documented behaviour: trees of keys that
/// have named values. Paths are separated by '\'; letter case of names does not count; the empty
/// name is a key's default value. Each answers a result code; on failure nothing has changed.
class Registry {
 public:
  virtual ~Registry() = default;

  /// Opens a key for full access, and first makes it, with those above it, when it is missing.
  virtual std::int32_t RegCreateKeyExA(std::uint32_t hive, const std::string& path,
                                       std::uint32_t access, RegistryKey& key) = 0;

  /// Full access needs write rights, also to read only.
  virtual std::int32_t RegOpenKeyExA(std::uint32_t hive, const std::string& path,
                                     std::uint32_t access, RegistryKey& key) = 0;

  /// Without a buffer: `size` becomes the number of bytes of the value. With one: as many of them
  /// as `size` says are put there, and `size` becomes their number.
  virtual std::int32_t RegQueryValueExA(RegistryKey key, const std::string& name, char* buffer,
                                        std::uint32_t& size) = 0;

  /// Stores the bytes as they are; only texts can be stored. A terminating NUL is the caller's
  /// business.
  virtual std::int32_t RegSetValueExA(RegistryKey key, const std::string& name, std::uint32_t type,
                                      std::string_view data) = 0;

  virtual std::int32_t RegDeleteValueA(RegistryKey key, const std::string& name) = 0;

  /// Deletes a key below `key` with its values. One that has keys below itself is refused.
  virtual std::int32_t RegDeleteKeyA(RegistryKey key, const std::string& subkey) = 0;

  virtual std::int32_t RegCloseKey(RegistryKey key) = 0;
};

}  // namespace torvik
