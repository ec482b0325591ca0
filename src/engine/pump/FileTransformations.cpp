#include <utility>

#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/Transformation.h"
#include "engine/pump/WholeFile.h"
#include "platform/CodePage.h"
#include "platform/Files.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

/// Why `name` may not be used; it comes with the data, and must not lead out of the directory.
std::string Misnamed(std::string_view name) {
  if (name.empty()) return "is empty; it must name a file";
  const bool leadsOut = name.find_first_of("/\\") != std::string_view::npos || name == "." ||
                        name == ".." || name.find('\0') != std::string_view::npos;
  return leadsOut ? "is not a plain file name; names may not lead out of the directory" : "";
}

class ReadFile final : public Transformation {
 public:
  ReadFile(Files& files, std::string directory, std::unique_ptr<CodePage> codePage)
      : files_(files), directory_(std::move(directory)), codePage_(std::move(codePage)) {}

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    if (value.IsNull()) return {};
    const std::string name(TextOfValue(value, row.batch));
    if (std::string misnamed = Misnamed(name); !misnamed.empty()) return misnamed;
    std::string content;
    if (const std::string reason = ReadWhole(files_, directory_ + name, kMaxFileBytes, content);
        !reason.empty())
      return "names a file that cannot be read (" + directory_ + name + "): " + reason;
    if (!codePage_) return value = row.batch.Store(content), "";
    std::string text;
    if (codePage_->DecodeStrict(content, text) != CodePage::kAllValid)
      return "names a file that is not in the given encoding (" + directory_ + name + ")";
    value = row.batch.Store(text);
    return {};
  }

 private:
  Files& files_;
  const std::string directory_;
  const std::unique_ptr<CodePage> codePage_;
};

class WriteFile final : public Transformation {
 public:
  WriteFile(Files& files, std::string directory, std::size_t nameColumn,
            std::unique_ptr<CodePage> codePage)
      : files_(files),
        directory_(std::move(directory)),
        nameColumn_(nameColumn),
        codePage_(std::move(codePage)) {}

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    const std::string name(TextOfValue(row.source[nameColumn_], row.batch));
    if (std::string misnamed = Misnamed(name); !misnamed.empty())
      return "cannot be written: its file name \"" + name + "\" " + misnamed;
    std::string content(TextOfValue(value, row.batch));
    if (codePage_) content = codePage_->Encode(content);
    if (const std::error_code error = files_.ReplaceBytes(directory_ + name, content))
      return "cannot be written to " + directory_ + name + ": " + error.message();
    value = row.batch.Store(name);
    return {};
  }

 private:
  Files& files_;
  const std::string directory_;
  const std::size_t nameColumn_;
  const std::unique_ptr<CodePage> codePage_;
};

}  // namespace

std::unique_ptr<Transformation> NewReadFile(Files& files, std::string directory,
                                            std::unique_ptr<CodePage> codePage) {
  return std::make_unique<ReadFile>(files, std::move(directory), std::move(codePage));
}

std::unique_ptr<Transformation> NewWriteFile(Files& files, std::string directory,
                                             std::size_t nameColumn,
                                             std::unique_ptr<CodePage> codePage) {
  return std::make_unique<WriteFile>(files, std::move(directory), nameColumn, std::move(codePage));
}

}  // namespace torvik::engine
