#include <utility>

#include "engine/pump/text/TextLayouts.h"
#include "engine/pump/text/TextSource.h"

namespace torvik::engine {
namespace {

class DelimitedText final : public TextSource {
 public:
  DelimitedText(TextInput input, const CodePages& codePages, const TextFormat& format)
      : TextSource(std::move(input), codePages, format) {
    CheckDelimiters(path_, format);
    if (!format.textQualifier.empty()) qualifier_ = format.textQualifier[0];
    countsLineFeeds_ =
        format.rowDelimiter.empty() || format.rowDelimiter.find('\n') != std::string::npos;
    scanner_.emplace(Encoded(format.columnDelimiter), Encoded(format.rowDelimiter),
                     format.textQualifier);
  }

 private:
  void NameColumnsByNumber() override { NameColumnsByFirstRow(); }

  std::optional<RowError> SplitRow(std::span<RawField>& fields) override {
    fields = scanner_->Fields();
    oddFields_ = scanner_->OddFields();
    const std::size_t want = columns_.size(), got = fields.size();
    if (got == want || want == 0) return std::nullopt;
    if (got < want) return RowError::TooFewFields(PlaceOfByte(row_, got), want, got);
    const RawField& extra = fields[want];
    return RowError::TooManyFields(PlaceOfByte(extra.begin, want + 1), want, got,
                                   ShownText(extra.begin, extra.end));
  }
};

}  // namespace

std::unique_ptr<TextSource> NewDelimitedText(TextInput input, const CodePages& codePages,
                                             const TextFormat& format) {
  return std::make_unique<DelimitedText>(std::move(input), codePages, format);
}

}  // namespace torvik::engine
