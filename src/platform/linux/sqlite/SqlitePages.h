#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/linux/sqlite/SqliteRecord.h"

namespace torvik {

/// One table as SQLite's file of a database, in memory
/// (https://sqlite.org/fileformat2.html): the schema on the first page, the root of the table on
/// the second, its rows on the others. It is for reading the rows from first to last; pages that no
/// row needs belong to nothing.
class SqlitePages {
 public:
  static constexpr std::size_t kPageSize = 65536, kPages = 16;
  static constexpr std::size_t kSize = kPageSize * kPages;

  /// `memory`: kSize bytes that outlive this. `createTable` is the text of the table `name`. A text
  /// beyond 60,000 bytes does not fit on the page; see Fits().
  SqlitePages(unsigned char* memory, const std::string& name, const std::string& createTable);

  static bool Fits(const std::string& createTable) { return createTable.size() < 60'000; }

  /// Without rows. Their numbers go on where they were, so that no state is like an earlier one.
  void Clear();

  /// False when there is no room left for it; an empty table may have none either.
  bool Add(const SqliteRecord& record);

  /// The table can be read now.
  void End();

  std::int64_t LastRowId() const { return lastRowId_; }

 private:
  unsigned char* Page(std::size_t number) { return memory_ + (number - 1) * kPageSize; }
  void WriteSchema(const std::string& name, const std::string& createTable);
  void BeginLeaf(std::size_t number);
  void EndLeaf();

  unsigned char* const memory_;
  std::int64_t lastRowId_ = 0;
  std::size_t leaf_ = 0;                   ///< The page that rows go to.
  std::size_t cells_ = 0, content_ = 0;    ///< On it: how many, and where the lowest begins.
  std::int64_t lastOfLeaf_[kPages + 1]{};  ///< By page.
};

}  // namespace torvik
