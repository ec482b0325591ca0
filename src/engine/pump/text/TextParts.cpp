#include "engine/pump/text/TextParts.h"

#include <algorithm>
#include <utility>

#include "engine/pump/RowBatch.h"
#include "engine/pump/text/TextLayouts.h"
#include "platform/CodePage.h"

namespace torvik::engine {

namespace {

bool NamesColumns(const TextFormat& format) {
  return format.firstRowColumnName || !format.columnNames.empty() ||
         format.layout == TextLayout::Fixed;
}

}  // namespace

class TextParts::Reader final : public RowSource {
 public:
  explicit Reader(TextParts& parts) : parts_(parts) {}

  const std::vector<std::string>& Columns() const override { return parts_.columns_; }
  bool Fetch(RowBatch& batch) override {
    for (;;) {
      if (stretch_ && stretch_->Fetch(batch)) return true;
      stretch_.reset();
      auto next = parts_.Take();
      if (!next) return false;
      stretch_ = parts_.Open(std::move(*next));
    }
  }
  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return parts_.whole_->PlaceOf(batch, row);
  }
  std::string RowEnd() const override { return parts_.whole_->RowEnd(); }
  bool CanReadAhead() const override { return true; }

 private:
  TextParts& parts_;
  std::unique_ptr<TextSource> stretch_;
};

TextParts::TextParts(Files& files, const CodePages& codePages, const std::string& path,
                     const TextFormat& format, std::vector<std::string> columns,
                     std::size_t stretchBytes)
    : codePages_(codePages),
      path_(path),
      format_(format),
      columns_(std::move(columns)),
      whole_([&] {
        // What a pipe gives is gone once it is read.
        std::uint64_t size = 0;
        if (const auto error = files.Size(path, size)) throw NotInParts(path, error.message());
        return NewTextSource(OpenTextInput(files, path, format.compression), codePages, format);
      }()) {
  TextInput input = OpenTextInput(files, path, format.compression);
  input.bytes->EndOn(format.cancelled);
  stretches_.emplace(
      std::move(input), whole_->Rules(), stretchBytes,
      // Where the first row that can be read tells the columns, it must be there.
      NamesColumns(format) ? stretchBytes : std::max(stretchBytes, BlockReader::kBlockBytes));
}

TextParts::~TextParts() = default;

std::unique_ptr<RowSource> TextParts::NewReader() {
  return std::make_unique<Reader>(*this);
}

std::optional<TextInput> TextParts::Take() {
  const std::lock_guard lock(mutex_);
  if (stopped_) return std::nullopt;
  try {
    return stretches_->Next();
  } catch (...) {
    stopped_ = true;
    throw;
  }
}

std::unique_ptr<TextSource> TextParts::Open(TextInput stretch) const {
  TextFormat format = format_;
  if (!stretch.isStart) {
    format.columnNames = columns_;
    auto source = NewTextSource(std::move(stretch), codePages_, format);
    source->Start(columns_);
    return source;
  }
  auto source = NewTextSource(std::move(stretch), codePages_, format);
  source->Start();
  if (source->Columns() == columns_) return source;
  throw PlatformError(0, path_ + " is not the file any more that it was when the step began",
                      "data pump");
}

}  // namespace torvik::engine
