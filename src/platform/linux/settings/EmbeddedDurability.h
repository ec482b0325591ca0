#pragma once

#include <string>

namespace torvik {

/// What a database of an embedded server survives, in the words of SQLite's pragmas of these names.
struct EmbeddedDurability {
  /// "full": each commit is on disk. "normal": a loss of power may undo the last commits, all of
  /// each. "off": it may destroy the database; the end of this program alone never does.
  std::string synchronous = "full";
  /// "wal": the write-ahead log. "off": nothing can be undone, not even by a transaction.
  std::string journal = "wal";
};

}  // namespace torvik
