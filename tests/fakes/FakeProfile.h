#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "platform/Profile.h"

namespace torvik {

/// Initialisation files in memory.
struct FakeProfile final : Profile {
  struct Entry {
    std::string file, section, key, value;
    bool operator==(const Entry&) const = default;
  };

  std::vector<Entry> entries;    ///< In the order in which they were first written.
  std::string failingKey = "-";  ///< A write of this key fails.

  std::string GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                       std::string_view fallback, std::size_t size,
                                       const std::string& file) override {
    const Entry* entry = Find(file, section, key);
    return (entry ? entry->value : std::string(fallback)).substr(0, size - 1);
  }

  int WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                 std::string_view value, const std::string& file) override {
    if (SameName(key, failingKey)) return 0;
    if (Entry* entry = Find(file, section, key)) {
      entry->value = value;
    } else {
      entries.push_back({file, std::string(section), std::string(key), std::string(value)});
    }
    return 1;
  }

  Entry* Find(std::string_view file, std::string_view section, std::string_view key) {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
      return entry.file == file && SameName(entry.section, section) && SameName(entry.key, key);
    });
    return found == entries.end() ? nullptr : &*found;
  }

 private:
  static bool SameName(std::string_view a, std::string_view b) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return upper(x) == upper(y); });
  }
};

}  // namespace torvik
