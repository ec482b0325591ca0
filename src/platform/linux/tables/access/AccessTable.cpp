#include "platform/linux/tables/access/AccessTable.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/database/SqliteColumns.h"
#include "platform/linux/tables/access/AccessValue.h"

namespace torvik {
namespace {

/// A table's definition as the library reads it, with the page that it looks at.
class Definition {
 public:
  Definition(const AccessPages& file, const std::string& name, std::uint32_t page)
      : pages_(file.Clone()), name_(name) {
    // What the library finds wrong it says on standard error alone.
    constexpr char kTablePage = 2;
    if (pages_.Go(page)[0] != kTablePage) throw Damaged("its definition is not where it should be");
    entry_.mdb = pages_.Handle();
    entry_.object_type = MDB_TABLE;
    entry_.table_pg = page;
    RequireMaps();
    table_.reset(mdb_read_table(&entry_));
    if (!table_ || !mdb_read_columns(table_.get()) || table_->map_sz == 0)
      throw Damaged("its definition cannot be read");
  }

  const AccessPages& Pages() const { return pages_; }
  MdbTableDef* Table() const { return table_.get(); }
  std::string_view UsageMap() const {
    return {reinterpret_cast<const char*>(table_->usage_map), table_->map_sz};
  }
  std::uint32_t Page() const { return static_cast<std::uint32_t>(entry_.table_pg); }

  int ColumnCount() const { return static_cast<int>(table_->columns->len); }
  const MdbColumn& Column(int position) const {
    return *static_cast<const MdbColumn*>(
        g_ptr_array_index(table_->columns, static_cast<guint>(position)));
  }

  PlatformError Damaged(const std::string& reason) const {
    return pages_.Damaged("table " + name_ + ": " + reason);
  }

 private:
  /// The library would look for the maps of the table's pages where the file does not reach.
  void RequireMaps() const {
    MdbHandle* handle = pages_.Handle();
    for (const int offset : {handle->fmt->tab_usage_map_offset, handle->fmt->tab_free_map_offset})
      pages_.Row(static_cast<std::uint32_t>(mdb_get_int32(handle->pg_buf, offset)));
  }

  struct Free {
    void operator()(MdbTableDef* table) const { mdb_free_tabledef(table); }
  };

  const AccessPages pages_;
  const std::string name_;
  MdbCatalogEntry entry_{};
  std::unique_ptr<MdbTableDef, Free> table_;
};

/// The pages that a table owns, in ascending order, out of its map of them.
std::vector<std::uint32_t> OwnedPages(const Definition& definition) {
  constexpr std::size_t kMapBegin = 5, kMapPageBegin = 4;
  const std::string_view map = definition.UsageMap();
  std::vector<std::uint32_t> pages;
  const auto take = [&](std::string_view bits, std::uint32_t first) {
    for (std::size_t i = 0; i < bits.size() * 8; ++i)
      if (static_cast<unsigned char>(bits[i / 8]) >> i % 8 & 1)
        pages.push_back(first + static_cast<std::uint32_t>(i));
  };
  const auto longAt = [&](std::size_t at) {
    return static_cast<std::uint32_t>(
        mdb_get_int32(const_cast<char*>(map.data()), static_cast<int>(at)));
  };
  if (map[0] == 0 && map.size() >= kMapBegin) {
    take(map.substr(kMapBegin), longAt(1));
  } else if (map[0] == 1) {
    // It lists pages that are maps.
    std::uint32_t first = 0;
    for (std::size_t at = 1; at + 4 <= map.size(); at += 4) {
      const auto bits =
          static_cast<std::uint32_t>(definition.Pages().Handle()->fmt->pg_size) - kMapPageBegin;
      if (longAt(at) != 0) take(definition.Pages().Go(longAt(at)).substr(kMapPageBegin), first);
      first += static_cast<std::uint32_t>(bits * 8);
    }
  } else {
    throw definition.Damaged("the map of its pages cannot be read");
  }
  return pages;
}

class AccessRows final : public FileRows {
 public:
  AccessRows(const AccessPages& file, const std::string& name, std::uint32_t page)
      : definition_(file, name, page),
        owned_(OwnedPages(definition_)),
        fields_(static_cast<std::size_t>(definition_.ColumnCount())) {}

  bool Step() override {
    for (;;) {
      while (row_ + 1 < rowsOnPage_) {
        ++row_;
        if (ReadRow()) return true;
      }
      if (nextPage_ == owned_.size()) return false;
      GoToPage(owned_[nextPage_++]);
    }
  }

  std::int64_t Place() const override { return static_cast<std::int64_t>(page_) << 16 | row_; }
  void GoTo(std::int64_t place) override {
    GoToPage(static_cast<std::uint32_t>(place >> 16));
    row_ = static_cast<int>(place & 0xFFFF);
    if (!ReadRow()) throw definition_.Damaged("a row has gone while the table was read");
  }

  ado::Value Column(int position) override {
    const MdbColumn& column = definition_.Column(position);
    const MdbField& field = fields_[static_cast<std::size_t>(position)];
    const auto type = static_cast<AccessType>(column.col_type);
    // The mark that other types have for NULL is the value itself.
    if (type == AccessType::Boolean) return std::int64_t{field.is_null ? 0 : 1};
    if (field.is_null) return ado::Null{};
    std::string bytes(BytesOf(field, column));
    if (type == AccessType::Memo || type == AccessType::OleObject)
      bytes = definition_.Pages().LongValue(bytes);
    const auto value =
        AccessValue(type, bytes, column.col_prec, definition_.Pages().TextCodePage());
    if (!value) throw RowDamaged(column, "it is no value of its type");
    return *value;
  }

 private:
  void GoToPage(std::uint32_t page) {
    constexpr char kDataPage = 1;
    page_ = page;
    row_ = -1;
    rowsOnPage_ = 0;
    const std::string_view bytes = definition_.Pages().Go(page);
    MdbHandle* handle = definition_.Pages().Handle();
    // A map may list a page that belongs to no table any more.
    if (bytes[0] != kDataPage ||
        static_cast<std::uint32_t>(mdb_get_int32(handle->pg_buf, 4)) != definition_.Page())
      return;
    rowsOnPage_ = mdb_get_int16(handle->pg_buf, handle->fmt->row_count_offset);
  }

  /// False for a row that is deleted, or that only says where it has moved to: it is found there.
  bool ReadRow() {
    constexpr int kGone = 0x4000, kOffset = 0x1FFF;
    int start = 0;
    std::size_t size = 0;
    MdbHandle* handle = definition_.Pages().Handle();
    if (mdb_find_row(handle, row_, &start, &size) != 0)
      throw definition_.Damaged("page " + std::to_string(page_) + ", row " + std::to_string(row_) +
                                " is not on its page");
    if (start & kGone || size == 0) return false;
    if (mdb_crack_row(definition_.Table(), start & kOffset, size, fields_.data()) < 0)
      throw definition_.Damaged("page " + std::to_string(page_) + ", row " + std::to_string(row_) +
                                " cannot be taken apart");
    return true;
  }

  std::string_view BytesOf(const MdbField& field, const MdbColumn& column) const {
    const MdbHandle* handle = definition_.Pages().Handle();
    if (field.start < 0 || field.siz < 0 || field.start + field.siz > handle->fmt->pg_size)
      throw RowDamaged(column, "its value is not on its page");
    return {reinterpret_cast<const char*>(handle->pg_buf) + field.start,
            static_cast<std::size_t>(field.siz)};
  }

  PlatformError RowDamaged(const MdbColumn& column, const std::string& reason) const {
    return definition_.Damaged("page " + std::to_string(page_) + ", row " + std::to_string(row_) +
                               ", column " + column.name + ": " + reason);
  }

  const Definition definition_;
  const std::vector<std::uint32_t> owned_;
  std::vector<MdbField> fields_;  ///< Of the row gone to, in the order of the columns.
  std::size_t nextPage_ = 0;
  std::uint32_t page_ = 0;
  int row_ = -1, rowsOnPage_ = 0;
};

class AccessTable final : public FileTable {
 public:
  AccessTable(const AccessPages& file, const std::string& name, std::uint32_t page)
      : file_(file), name_(name), page_(page) {
    const Definition definition(file, name, page);
    rows_ = definition.Table()->num_rows;
    const int bytesPerCharacter = file.TextCodePage() ? 1 : 2;
    for (int i = 0; i < definition.ColumnCount(); ++i) {
      const MdbColumn& column = definition.Column(i);
      columns_.push_back(
          ColumnOfType(DeclaredAccessType(static_cast<AccessType>(column.col_type), column.col_size,
                                          bytesPerCharacter, column.col_scale, column.col_prec)));
      columns_.back().name = column.name;
    }
    RequireNames(definition);
  }

  const std::string& Name() const override { return name_; }
  const std::vector<ado::Column>& Columns() const override { return columns_; }
  std::int64_t RowEstimate() const override { return rows_; }
  std::unique_ptr<FileRows> Open() const override {
    return std::make_unique<AccessRows>(file_, name_, page_);
  }

 private:
  void RequireNames(const Definition& definition) const {
    if (columns_.empty()) throw definition.Damaged("it has no columns");
    std::set<std::string> names;
    for (const ado::Column& column : columns_)
      if (column.name.empty() || !names.insert(LowerAscii(column.name)).second)
        throw definition.Damaged("the columns' names cannot be read");
  }

  const AccessPages& file_;
  const std::string name_;
  const std::uint32_t page_;
  std::vector<ado::Column> columns_;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<FileTable> NewAccessTable(const AccessPages& file, const std::string& name,
                                          std::uint32_t page) {
  return std::make_unique<AccessTable>(file, name, page);
}

}  // namespace torvik
