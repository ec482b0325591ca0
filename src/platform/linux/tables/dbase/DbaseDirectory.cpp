#include "platform/linux/tables/dbase/DbaseDirectory.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "platform/Text.h"
#include "platform/linux/system/DirectoryEntries.h"
#include "platform/linux/tables/dbase/DbaseTable.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

class DbaseDirectory final : public TableFile {
 public:
  explicit DbaseDirectory(const std::string& directory) {
    std::error_code error;
    for (const std::string& name : DirectoryEntries(directory, error)) {
      const fs::path path = fs::path(directory) / name;
      if (EqualsIgnoringCase(path.extension().string(), ".dbf"))
        paths_.emplace(LowerAscii(path.stem().string()), path);
    }
    if (error)
      throw TableFileError(directory, "cannot be read: " + error.message() +
                                          "; check the path and the rights on it");
  }

  std::vector<const FileTable*> Tables() const override {
    std::vector<const FileTable*> tables;
    for (const auto& [name, path] : paths_)
      if (const FileTable* table = TryTable(name)) tables.push_back(table);
    return tables;
  }

  /// By "SALES.DBF", or as the provider for such files writes it, "SALES#DBF".
  const FileTable* FindByOtherName(const std::string& name) override {
    std::string lower = LowerAscii(name);
    if (lower.ends_with(".dbf") || lower.ends_with("#dbf")) lower.resize(lower.size() - 4);
    return paths_.contains(lower) ? &Table(lower) : nullptr;
  }

 private:
  const FileTable& Table(const std::string& name) const {
    auto& table = tables_[name];
    const fs::path& path = paths_.at(name);
    if (!table) table = NewDbaseTable(path.string(), path.stem().string());
    return *table;
  }

  /// Null for a file that is damaged: it does not keep the others from being used.
  const FileTable* TryTable(const std::string& name) const {
    try {
      return &Table(name);
    } catch (const PlatformError&) {
      return nullptr;
    }
  }

  std::map<std::string, fs::path> paths_;  // by small letters, without the ending
  mutable std::map<std::string, std::unique_ptr<FileTable>> tables_;
};

}  // namespace

std::unique_ptr<TableFile> OpenDbaseDirectory(const std::string& directory) {
  return std::make_unique<DbaseDirectory>(directory);
}

}  // namespace torvik
