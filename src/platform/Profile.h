#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace torvik {

/// The platform's initialisation-file functions (GetPrivateProfileString, GetPrivateProfileSection
/// and WritePrivateProfileString of the Windows API), by their documented behaviour. Section and
/// key names match without regard to letter case. Texts are UTF-8 in memory and in the system's
/// code page in the file.
class Profile {
 public:
  virtual ~Profile() = default;

  /// The value of `key`, without the blanks around it and without one pair of quotes around it, cut
  /// to `size` - 1 characters; `fallback` when the file, the section or the key is absent. An empty
  /// value is the empty text.
  virtual std::string GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                               std::string_view fallback, std::size_t size,
                                               const std::string& file) = 0;

  /// The keys of a section with their values, in the file's order; none when there is no such
  /// section, or the file cannot be read. Only the first section of a name counts, as for keys.
  virtual std::vector<std::pair<std::string, std::string>> GetPrivateProfileSectionA(
      std::string_view section, const std::string& file) = 0;

  /// Replaces the key's value in place; a new key goes to the end of its section, a new section to
  /// the end of the file, a new file gets mode 0600. Every other byte of the file stays as it is,
  /// and so do its line ends and its mode. Non-zero on success; on failure the file is as it was.
  virtual int WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                         std::string_view value, const std::string& file) = 0;

  /// Calls `use`, which reads and writes keys of this file. The file itself is read once before and
  /// written once afterwards, when a key was written: whoever reads it, or comes after a crash,
  /// finds all of the new keys or none. An error when it cannot be read, and `use` is not called
  /// then, or cannot be written: it is as it was. An absent file is an empty one.
  virtual std::error_code Together(const std::string& file, const std::function<void()>& use) = 0;
};

}  // namespace torvik
