#include <algorithm>
#include <numeric>
#include <utility>

#include "engine/pump/text/TextLayouts.h"
#include "engine/pump/text/TextSource.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

class FixedText final : public TextSource {
 public:
  FixedText(TextInput input, const CodePages& codePages, const TextFormat& format)
      : TextSource(std::move(input), codePages, format),
        rowLength_(FixedRowLength(path_, format)),
        hasDelimiter_(format.rowDelimiter != kNoRowDelimiter),
        fields_(format.columnLengths.size()),
        all_(fields_.size()) {
    std::iota(all_.begin(), all_.end(), std::size_t{0});
    const std::string delimiter = hasDelimiter_ ? Encoded(format.rowDelimiter) : "";
    scanner_.emplace("", delimiter, "");
    countsLineFeeds_ =
        hasDelimiter_ && (delimiter.empty() || delimiter.find('\n') != delimiter.npos);
    if (!hasDelimiter_) lineWord_ = "row";
  }

 private:
  std::optional<RowError> SplitRow(std::span<RawField>& fields) override;
  void NameColumnsByNumber() override { TextSource::NameColumnsByNumber(fields_.size()); }
  bool IsEmptyLine() override { return hasDelimiter_ && TextSource::IsEmptyLine(); }

  bool HasRowEnds() const override { return hasDelimiter_; }

  RowScan FindRow(char* from, char* end, bool last) override {
    if (hasDelimiter_) return TextSource::FindRow(from, end, last);
    std::size_t taken = 0;
    char* const rowEnd = Skip(from, last ? end : CompleteEnd(from, end), rowLength_, taken);
    return {taken == rowLength_ || last ? RowScan::Outcome::Row : RowScan::Outcome::NeedMore,
            rowEnd};
  }
  RowScan FindLine(char* from, char* end, bool last) override {
    if (hasDelimiter_) return TextSource::FindLine(from, end, last);
    RowScan scan = FindRow(from, end, last);
    if (scan.outcome == RowScan::Outcome::NeedMore) scan.at = nullptr;
    return scan;
  }

  char* Skip(char* from, char* end, std::size_t wanted, std::size_t& taken) const;
  char* CompleteEnd(char* from, char* end) const;

  const std::size_t rowLength_;
  const bool hasDelimiter_;
  std::vector<RawField> fields_;
  std::vector<std::size_t> all_;  // their numbers
};

/// Where the text goes on behind `wanted` characters, or `end`; `taken` gets how many there are. A
/// byte that is not text counts as one.
char* FixedText::Skip(char* from, char* end, std::size_t wanted, std::size_t& taken) const {
  const auto left = static_cast<std::size_t>(end - from);
  const std::size_t ascii =
      IsSingleByte() ? std::min(left, wanted) : AsciiLength({from, std::min(left, wanted)});
  taken = ascii;
  for (from += ascii; from < end && taken < wanted; ++taken) {
    const std::string_view rest(from, static_cast<std::size_t>(end - from));
    from += std::max<std::size_t>(1, CharacterLength(rest));
  }
  return from;
}

/// `end`, or before the beginning of a character there that more bytes may complete.
char* FixedText::CompleteEnd(char* from, char* end) const {
  if (IsSingleByte()) return end;
  for (char* p = end - std::min<std::ptrdiff_t>(3, end - from); p < end; ++p)
    if (Utf8LeadOf(static_cast<unsigned char>(*p)).length > static_cast<std::size_t>(end - p))
      return p;
  return end;
}

std::optional<RowError> FixedText::SplitRow(std::span<RawField>& fields) {
  char* at = row_;
  char* const end = hasDelimiter_ ? scanner_->Fields()[0].end : rowEnd_;
  const bool mayBeOdd = !hasDelimiter_ || !scanner_->OddFields().empty();
  oddFields_ = mayBeOdd ? std::span<const std::size_t>(all_) : std::span<const std::size_t>();
  fields = fields_;
  for (std::size_t column = 0; column < fields_.size(); ++column) {
    const std::size_t want = format_.columnLengths[column];
    std::size_t got = 0;
    char* const next = Skip(at, end, want, got);
    if (got > 0 && got < want && column + 1 < fields_.size())
      return RowError::EndsInside(PlaceOfByte(at, column + 1), want, got, ShownText(at, next));
    RawField& field = fields_[column] = {at, next};
    while (field.end > field.begin && field.end[-1] == ' ') --field.end;
    at = next;
  }
  if (std::all_of(at, end, [](char c) { return c == ' '; })) return std::nullopt;
  std::size_t more = 0;
  Skip(at, end, static_cast<std::size_t>(end - at), more);
  return RowError::TooWide(PlaceOfByte(at, fields_.size() + 1), rowLength_, rowLength_ + more,
                           ShownText(at, end));
}

}  // namespace

std::unique_ptr<TextSource> NewFixedText(TextInput input, const CodePages& codePages,
                                         const TextFormat& format) {
  return std::make_unique<FixedText>(std::move(input), codePages, format);
}

}  // namespace torvik::engine
