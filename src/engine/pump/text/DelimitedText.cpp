#include <utility>

#include "engine/pump/text/Qualifiers.h"
#include "engine/pump/text/RowIndex.h"
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
    const std::string column = Encoded(format.columnDelimiter), row = Encoded(format.rowDelimiter);
    scanner_.emplace(column, row, format.textQualifier);
    if (column.size() == 1 && row.size() <= 1 && column != "\r" && format.textQualifier != "\r")
      index_.emplace(RowIndex::Rules{.column = column[0],
                                     .row = row.empty() ? '\n' : row[0],
                                     .quote = qualifier_,
                                     .hasQuotes = !format.textQualifier.empty(),
                                     .endsInLineFeed = row.empty(),
                                     .isUtf8 = !IsSingleByte()});
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

  void BeginBlock() override {
    if (index_) index_->Clear();
  }

  bool TakeWellFormedRow(RowBatch& batch) override {
    if (!index_ || columns_.empty()) return false;
    const auto ends = index_->FieldEnds(row_, block_.end, columns_.size());
    if (ends.empty()) return false;
    const char* const last = index_->Start() + ends.back();
    // These bytes have to be decoded.
    if (IsSingleByte() && index_->HasOdd(row_, last)) return false;
    rowEnd_ = row_ + (last - row_) + 1;
    ado::LoadValue* value = AddRow(batch, ends.size());
    const char* field = row_;
    for (const std::uint16_t at : ends.first(ends.size() - 1)) {
      const char* const end = index_->Start() + at;
      *value++ = ValueOf(field, end, batch);
      field = end + 1;
    }
    const bool hasReturn = format_.rowDelimiter.empty() && last > field && last[-1] == '\r';
    *value = ValueOf(field, hasReturn ? last - 1 : last, batch);
    ++line_;
    if (countsLineFeeds_ && index_->MayHaveRowEndsInside()) line_ += LinesIn(row_, last);
    row_ = rowEnd_;
    return true;
  }

  ado::LoadValue ValueOf(const char* begin, const char* end, RowBatch& batch) const {
    const bool isQuoted = *begin == qualifier_;
    if (isQuoted) ++begin, --end;
    const std::string_view text(begin, static_cast<std::size_t>(end - begin));
    if (isQuoted && index_->HasQuote(begin, end)) return Undoubled(text, qualifier_, batch);
    return text.empty() && !isQuoted ? ado::LoadValue() : ado::LoadValue(text);
  }

  std::optional<RowIndex> index_;
};

}  // namespace

std::unique_ptr<TextSource> NewDelimitedText(TextInput input, const CodePages& codePages,
                                             const TextFormat& format) {
  return std::make_unique<DelimitedText>(std::move(input), codePages, format);
}

}  // namespace torvik::engine
