#include <utility>

#include "engine/pump/RowTarget.h"
#include "engine/pump/TextLoad.h"

namespace torvik::engine {
namespace {

class TextTarget final : public RowTarget {
 public:
  TextTarget(Files& files, const CodePages& codePages, std::string path, TextFormat format)
      : files_(files), codePages_(codePages), path_(std::move(path)), format_(std::move(format)) {}

  std::string Name() const override { return path_; }
  std::optional<std::vector<ado::Column>> Columns() override { return std::nullopt; }

  std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string> columns) override {
    return OpenTextLoad(files_, codePages_, path_, format_, {columns.begin(), columns.end()});
  }

 private:
  Files& files_;
  const CodePages& codePages_;
  const std::string path_;
  const TextFormat format_;
};

}  // namespace

std::unique_ptr<RowTarget> NewTextTarget(Files& files, const CodePages& codePages, std::string path,
                                         TextFormat format) {
  return std::make_unique<TextTarget>(files, codePages, std::move(path), std::move(format));
}

}  // namespace torvik::engine
