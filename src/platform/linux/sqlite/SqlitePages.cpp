#include "platform/linux/sqlite/SqlitePages.h"

#include <cstring>

#include "platform/linux/sqlite/SqliteVarint.h"

namespace torvik {
namespace {

constexpr std::size_t kFileHeader = 100, kRoot = 2, kFirstLeaf = 3;
constexpr unsigned char kInnerPage = 5, kLeafPage = 13;
constexpr std::size_t kInnerHeader = 12, kLeafHeader = 8, kPointer = 2;
/// A record of more bytes would go on on pages of its own.
constexpr std::size_t kLongestRecord = SqlitePages::kPageSize - 35;

unsigned char* Write2(std::size_t number, unsigned char* at) {
  return WriteSqliteNumber(number, 2, at);
}
unsigned char* Write4(std::size_t number, unsigned char* at) {
  return WriteSqliteNumber(number, 4, at);
}

/// The header of a page of a tree; a content that begins at the page's end is written as 0.
void WritePageHeader(unsigned char* at, unsigned char kind, std::size_t cells,
                     std::size_t content) {
  at[0] = kind;
  Write2(0, at + 1);  // no free block
  Write2(cells, at + 3);
  Write2(content, at + 5);
  at[7] = 0;  // no fragments
}

}  // namespace

SqlitePages::SqlitePages(unsigned char* memory, const std::string& name,
                         const std::string& createTable)
    : memory_(memory) {
  WriteSchema(name, createTable);
  Clear();
  End();
}

void SqlitePages::WriteSchema(const std::string& name, const std::string& createTable) {
  unsigned char* const header = Page(1);
  std::memset(header, 0, kPageSize);
  std::memcpy(header, "SQLite format 3", 16);
  Write2(1, header + 16);                             // stands for pages of 65,536 bytes
  header[18] = header[19] = 1;                        // no write-ahead log
  header[21] = 64, header[22] = 32, header[23] = 32;  // as they must be
  Write4(1, header + 24), Write4(1, header + 92);     // changes of the file
  Write4(kPages, header + 28);                        //
  Write4(1, header + 40), Write4(4, header + 44);     // the schema's version and format
  Write4(1, header + 56);                             // UTF-8
  const auto text = [](std::size_t place) {
    return SqliteRecord::Column{place, SqliteStorage::Text, SqliteAffinity::Text, false};
  };
  SqliteRecord record({text(0),
                       text(1),
                       text(1),
                       {2, SqliteStorage::Integer, SqliteAffinity::Number, false},
                       text(3)});
  const ado::LoadValue row[] = {"table", name, std::int64_t{kRoot}, createTable};
  record.Take(row);
  const std::size_t size = SqliteVarintSize(record.Size()) + 1 + record.Size();
  const std::size_t content = kPageSize - size;
  unsigned char* cell = WriteSqliteVarint(record.Size(), header + content);
  *cell++ = 1;
  record.WriteTo(cell);
  WritePageHeader(header + kFileHeader, kLeafPage, 1, content);
  Write2(content, header + kFileHeader + kLeafHeader);
}

void SqlitePages::Clear() {
  BeginLeaf(kFirstLeaf);
}

void SqlitePages::BeginLeaf(std::size_t number) {
  leaf_ = number;
  cells_ = 0;
  content_ = kPageSize;
}

void SqlitePages::EndLeaf() {
  WritePageHeader(Page(leaf_), kLeafPage, cells_, content_);
  lastOfLeaf_[leaf_] = lastRowId_;
}

bool SqlitePages::Add(const SqliteRecord& record) {
  if (record.Size() > kLongestRecord) return false;
  const auto id = static_cast<std::uint64_t>(lastRowId_ + 1);
  const std::size_t size = SqliteVarintSize(record.Size()) + SqliteVarintSize(id) + record.Size();
  if (kLeafHeader + kPointer * (cells_ + 1) + size > content_) {
    if (leaf_ == kPages) return false;
    EndLeaf();
    BeginLeaf(leaf_ + 1);
  }
  content_ -= size;
  unsigned char* const page = Page(leaf_);
  unsigned char* const cell = WriteSqliteVarint(record.Size(), page + content_);
  record.WriteTo(WriteSqliteVarint(id, cell));
  Write2(content_, page + kLeafHeader + kPointer * cells_);
  ++cells_, ++lastRowId_;
  return true;
}

void SqlitePages::End() {
  EndLeaf();
  unsigned char* const root = Page(kRoot);
  if (leaf_ == kFirstLeaf) {  // a root that leads to one page alone is not allowed
    std::memcpy(root, Page(leaf_), kPageSize);
    return;
  }
  std::size_t content = kPageSize;
  unsigned char* pointer = root + kInnerHeader;
  for (std::size_t leaf = kFirstLeaf; leaf < leaf_; ++leaf) {
    const auto last = static_cast<std::uint64_t>(lastOfLeaf_[leaf]);
    content -= 4 + SqliteVarintSize(last);
    WriteSqliteVarint(last, Write4(leaf, root + content));
    pointer = Write2(content, pointer);
  }
  WritePageHeader(root, kInnerPage, leaf_ - kFirstLeaf, content);
  Write4(leaf_, root + 8);
}

}  // namespace torvik
