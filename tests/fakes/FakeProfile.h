#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <system_error>
#include <vector>

#include "platform/Profile.h"

namespace torvik {

/// Initialisation files in memory.
struct FakeProfile final : Profile {
  struct Entry {
    std::string file, section, key, value;
  };

  std::vector<Entry> entries;    ///< In the order in which they were first written.
  std::string failingKey = "-";  ///< A write of this key fails.
  std::string unreadableFile, unwritableFile;

  std::string GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                       std::string_view fallback, std::size_t size,
                                       const std::string& file) override {
    const Entry* entry = Find(file, section, key);
    return (entry ? entry->value : std::string(fallback)).substr(0, size - 1);
  }

  std::vector<std::pair<std::string, std::string>> GetPrivateProfileSectionA(
      std::string_view section, const std::string& file) override {
    std::vector<std::pair<std::string, std::string>> keys;
    for (const Entry& entry : entries)
      if (entry.file == file && IsSame(entry.section, section))
        keys.emplace_back(entry.key, entry.value);
    return keys;
  }

  int WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                 std::string_view value, const std::string& file) override {
    if (key == failingKey) return 0;
    if (Find(file, section, key) == nullptr)
      entries.push_back({file, std::string(section), std::string(key), ""});
    Find(file, section, key)->value = value;
    return 1;
  }

  std::error_code Together(const std::string& file, const std::function<void()>& use) override {
    if (file == unreadableFile) return std::make_error_code(std::errc::permission_denied);
    const std::vector<Entry> before = entries;
    try {
      use();
    } catch (...) {
      entries = before;
      throw;
    }
    if (file != unwritableFile) return {};
    entries = before;
    return std::make_error_code(std::errc::read_only_file_system);
  }

  static bool IsSame(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, tolower, tolower);
  }

  Entry* Find(std::string_view file, std::string_view section, std::string_view key) {
    const auto found = std::ranges::find_if(entries, [&](const Entry& entry) {
      return entry.file == file && IsSame(entry.section, section) && IsSame(entry.key, key);
    });
    return found == entries.end() ? nullptr : &*found;
  }
};

}  // namespace torvik
