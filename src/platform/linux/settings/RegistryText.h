#pragma once

#include <map>
#include <string>
#include <string_view>

namespace torvik {

/// What a hive holds. Names are found by their small letters and keep their spelling.
struct Hive {
  struct Value {
    std::string name;
    std::string data;
  };
  struct Key {
    std::string path;
    std::map<std::string, Value> values;
    std::string comments;  ///< Lines of a person's, ';' before each.

    /// A value that is there keeps the spelling of its name.
    void Set(const std::string& name, std::string_view data);
  };

  std::map<std::string, Key> keys;

  /// The key, made with those above it when it is missing.
  Key& Make(const std::string& path);
  /// Null when there is none.
  Key* Find(const std::string& path);
  /// True when a key lies below that one.
  bool HasKeysBelow(const std::string& path) const;
};

/// False when a line makes no sense; `hive` then holds what stands before it.
bool ReadHive(std::string_view text, Hive& hive);

std::string WriteHive(const Hive& hive);

}  // namespace torvik
