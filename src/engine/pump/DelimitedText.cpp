#include <utility>

#include "engine/pump/TextLayouts.h"
#include "engine/pump/TextSource.h"

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

void CheckDelimiters(const std::string& path, const TextFormat& format) {
  const std::string& column = format.columnDelimiter;
  const std::string& row = format.rowDelimiter;
  const std::string& qualifier = format.textQualifier;
  const char rowStart = row.empty() ? '\n' : row[0];
  if (column.empty()) throw RowError::BadFormat(path, "the column delimiter is empty");
  if (column == row || (row.empty() && (column == "\n" || column == "\r\n")))
    throw RowError::BadFormat(path, "the column delimiter also ends rows");
  if (qualifier.size() > 1 || (!qualifier.empty() && (qualifier[0] & 0x80) != 0))
    throw RowError::BadFormat(path, "the text qualifier is not one ASCII character");
  if (!qualifier.empty() && (column[0] == qualifier[0] || rowStart == qualifier[0]))
    throw RowError::BadFormat(path, "the text qualifier also begins a delimiter");
}

std::unique_ptr<TextSource> NewDelimitedText(TextInput input, const CodePages& codePages,
                                             const TextFormat& format) {
  return std::make_unique<DelimitedText>(std::move(input), codePages, format);
}

}  // namespace torvik::engine
