#include "platform/linux/tables/access/AccessFile.h"

#include <algorithm>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/tables/access/AccessPages.h"
#include "platform/linux/tables/access/AccessTable.h"

namespace torvik {
namespace {

constexpr std::uint32_t kCataloguePage = 2;

class AccessFile final : public TableFile {
 public:
  explicit AccessFile(const std::string& path) : pages_(path) {
    const auto catalogue = NewAccessTable(pages_, "MSysObjects", kCataloguePage);
    const auto rows = catalogue->Open();
    const auto position = [&](std::string_view name) { return ColumnOf(*catalogue, name); };
    const int id = position("Id"), name = position("Name"), type = position("Type"),
              flags = position("Flags");
    while (rows->Step()) {
      const ado::Value tableName = rows->Column(name);
      if (IsUserTable(tableName, NumberIn(rows->Column(type)), NumberIn(rows->Column(flags))))
        AddTable(std::get<std::string>(tableName), NumberIn(rows->Column(id)));
    }
  }

  std::vector<const FileTable*> Tables() const override {
    std::vector<const FileTable*> tables;
    for (const auto& table : tables_) tables.push_back(table.get());
    return tables;
  }

  const FileTable* FindByOtherName(const std::string&) override { return nullptr; }

 private:
  int ColumnOf(const FileTable& catalogue, std::string_view name) const {
    const auto found = std::ranges::find_if(catalogue.Columns(), [&](const ado::Column& column) {
      return EqualsIgnoringCase(column.name, name);
    });
    if (found == catalogue.Columns().end())
      throw pages_.Damaged("its catalogue has no column " + std::string(name));
    return static_cast<int>(found - catalogue.Columns().begin());
  }

  static std::int64_t NumberIn(const ado::Value& value) {
    const auto* number = std::get_if<std::int64_t>(&value);
    return number ? *number : 0;
  }

  static bool IsUserTable(const ado::Value& name, std::int64_t type, std::int64_t flags) {
    constexpr std::int64_t kLocalTable = 1, kOfTheSystem = 0x80000002;
    const auto* text = std::get_if<std::string>(&name);
    // A deleted table stays under such a name until the file is compacted.
    return text && !text->empty() && type == kLocalTable && (flags & kOfTheSystem) == 0 &&
           !text->starts_with("MSys") && !text->starts_with("~TMP");
  }

  void AddTable(const std::string& name, std::int64_t id) {
    constexpr std::int64_t kPage = 0xFFFFFF;
    tables_.push_back(NewAccessTable(pages_, name, static_cast<std::uint32_t>(id & kPage)));
  }

  const AccessPages pages_;
  std::vector<std::unique_ptr<FileTable>> tables_;
};

}  // namespace

std::unique_ptr<TableFile> OpenAccessFile(const std::string& path) {
  return std::make_unique<AccessFile>(path);
}

}  // namespace torvik
