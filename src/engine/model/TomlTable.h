#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "engine/model/Problems.h"

namespace torvik::engine {

struct TomlValue;
struct TomlEntry;
using TomlArray = std::vector<TomlValue>;
/// The entries in the order of the document.
using TomlTable = std::vector<TomlEntry>;

/// A value of a TOML document and where it stands. The first alternative is a date or time.
struct TomlValue {
  TextPlace place;
  std::variant<std::monostate, std::string, bool, std::int64_t, double, TomlArray, TomlTable> data;
};

struct TomlEntry {
  std::string key;
  TextPlace place;
  TomlValue value;
};

/// Reads a document. A syntax error goes to `problems`, and the table is empty.
TomlTable ParseToml(std::string_view text, Problems& problems);

/// What a value is, for messages: "a text", "an integer".
const char* KindOf(const TomlValue& value);

/// A text of a document, and where it stands.
struct PlacedText {
  std::string text;
  TextPlace place;
};

/// Takes the entries of one table by key. A key that is asked for is a known one; a value of
/// another type, a missing value and an unknown key go to `problems`.
class TableReader {
 public:
  /// `place` is where the table begins. `table` must outlive the reader.
  TableReader(const TomlTable& table, TextPlace place, Problems& problems)
      : table_(table), place_(place), problems_(problems) {}

  TextPlace Place() const { return place_; }
  const TomlTable& Entries() const { return table_; }

  /// Null when the key is not there.
  const TomlValue* Find(std::string_view key);

  std::optional<PlacedText> Text(std::string_view key);
  /// A missing text is a problem, and so is an empty one.
  PlacedText RequiredText(std::string_view key);
  std::int64_t Integer(std::string_view key, std::int64_t fallback);
  bool Boolean(std::string_view key, bool fallback);
  /// Null when the key is not there or is something else.
  const TomlArray* Array(std::string_view key);
  const TomlTable* Table(std::string_view key);

  /// Checks the table "original": properties by their names in the package's original designer,
  /// which the document keeps and nothing here uses.
  void SkipOriginal();

  /// Reports the keys that nobody has asked for.
  void Finish();

 private:
  template <typename T>
  const T* Get(std::string_view key);

  const TomlTable& table_;
  TextPlace place_;
  Problems& problems_;
  std::vector<std::string> known_;
};

}  // namespace torvik::engine
