#include "engine/pump/text/TextSource.h"

#include <algorithm>
#include <utility>

#include "engine/pump/text/Qualifiers.h"
#include "engine/pump/text/TextLayouts.h"
#include "engine/pump/text/TextStretches.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// What is kept of a longer row.
constexpr std::size_t kLongRowBytes = std::size_t{64} << 10;
/// More than enough for a value in a message.
constexpr std::size_t kShownBytes = 1000;
/// Of a batch. Short rows are many in a block, and one that is rejected takes a thousand bytes.
constexpr std::size_t kMostRows = 16384;
/// More empty lines than these are not taken for the file's end.
constexpr std::size_t kMaxEmptyLines = 1000;

}  // namespace

TextSource::TextSource(TextInput input, const CodePages& codePages, const TextFormat& format)
    : path_(input.path),
      format_(format),
      line_(input.line),
      isStart_(input.isStart),
      reader_(std::move(input), format.cancelled),
      encoding_(FindEncoding(path_, codePages, format.encoding, isStart_ ? reader_.Head() : "")),
      linesToSkip_(isStart_ ? std::max(format.skipRows, 0) : 0) {
  header_ = reader_.Head().substr(0, encoding_.markBytes);
  reader_.Decode(encoding_);
  rowEndBytes_ = EncodedRowEnd(codePages);
  // Rows that are read again stand behind as many lines.
  for (int line = 0; line < linesToSkip_; ++line) header_ += rowEndBytes_;
}

/// The bytes of a row's end in the file's encoding.
std::string TextSource::EncodedRowEnd(const CodePages& codePages) const {
  const std::string text = format_.rowDelimiter == kNoRowDelimiter ? ""
                           : format_.rowDelimiter.empty()          ? "\n"
                                                                   : format_.rowDelimiter;
  if (!encoding_.decoder) return Encoded(text);
  std::string mark, bytes;
  FindEncoder(path_, codePages, encoding_.name, mark)->Encode(text, bytes);
  return bytes;
}

TextRules TextSource::Rules() const {
  if (reader_.Decodes()) throw NotInParts(path_, "its encoding is " + encoding_.name);
  if (!HasRowEnds()) throw NotInParts(path_, "no delimiter ends its rows");
  return {*scanner_, countsLineFeeds_, encoding_.markBytes, std::max(format_.skipRows, 0)};
}

void TextSource::Start() {
  if (format_.firstRowColumnName)
    NameColumnsByHeader();
  else if (format_.columnNames.empty())
    NameColumnsByNumber();
  else
    columns_ = format_.columnNames;
}

bool TextSource::Fetch(RowBatch& batch) {
  if (!first_) return ReadRows(batch, false);
  batch = std::move(*first_);
  first_.reset();
  return true;
}

bool TextSource::ReadRows(RowBatch& batch, bool stopAtRow) {
  batch.Clear();
  do {
    block_ = reader_.Next(batch, needsMore_);
    reader_.Keep(TakeRows(batch, stopAtRow));
  } while (batch.RowCount() == 0 && batch.BadRows().empty() && !block_.last);
  return batch.RowCount() > 0 || !batch.BadRows().empty();
}

/// Takes the rows that end in the block; answers where the rest begins.
const char* TextSource::TakeRows(RowBatch& batch, bool stopAtRow) {
  row_ = block_.begin;
  needsMore_ = false;
  BeginBlock();
  const std::size_t most = stopAtRow ? 1 : kMostRows;
  while (row_ < block_.end && !needsMore_ && batch.RowCount() < most &&
         batch.BadRows().size() < kMostRows)
    needsMore_ = !TakeNext(batch);
  return row_;
}

/// False when the block ends before what begins at row_ does.
bool TextSource::TakeNext(RowBatch& batch) {
  if (long_) return SkipLongRow(batch);
  if (linesToSkip_ > 0) return SkipLine();
  if (emptyLines_.empty() && TakeWellFormedRow(batch)) return true;
  const RowScan scan = FindRow(row_, block_.end, block_.last);
  RowScan end = scan;
  if (scan.outcome == RowScan::Outcome::TextAfterQuote)
    end = FindLine(scan.at, block_.end, block_.last);
  const bool complete = end.outcome != RowScan::Outcome::NeedMore;
  rowEnd_ = end.outcome == RowScan::Outcome::Row ? end.at : block_.end;
  if (static_cast<std::size_t>(rowEnd_ - row_) > kMaxRowBytes) {
    BeginLongRow(scan);
    return true;
  }
  if (!complete) return false;
  rowOffset_ = reader_.OffsetOf(row_);
  TakeRow(batch, scan);
  EndRow(scan);
  return true;
}

bool TextSource::SkipLine() {
  const RowScan scan = FindLine(row_, block_.end, block_.last);
  const bool complete = scan.outcome == RowScan::Outcome::Row;
  if (complete) --linesToSkip_;
  // What is passed of a line that goes on need not be kept.
  rowEnd_ = complete || scan.at != nullptr ? scan.at : row_;
  if (complete || countsLineFeeds_) line_ += LinesIn(row_, rowEnd_);
  row_ = rowEnd_;
  return complete;
}

/// An empty line at the end of the file is none; whether it stands there shows the next row. A file
/// of one column has no other way to write NULL, so there it is a row.
void TextSource::TakeRow(RowBatch& batch, const RowScan& scan) {
  const bool isRow = scan.outcome == RowScan::Outcome::Row;
  if (isRow && columns_.size() > 1 && IsEmptyLine()) return TakeEmptyLine(batch);
  if (!emptyLines_.empty()) RefuseEmptyLines(batch);
  std::span<RawField> fields;
  std::optional<RowError> error = isRow ? SplitRow(fields) : ScanError(scan);
  if (!error)
    for (const std::size_t column : oddFields_)
      if (!error) error = DecodeField(fields[column], column, batch);
  if (error) return batch.AddBadRow(Origin(), std::move(*error));

  ado::LoadValue* value = AddRow(batch, fields.size());
  for (const RawField& field : fields) {
    const std::string_view text(field.begin, static_cast<std::size_t>(field.end - field.begin));
    if (field.doubled)
      *value = Undoubled(text, qualifier_, batch);
    else
      *value = text.empty() && !field.quoted ? ado::LoadValue() : ado::LoadValue(text);
    ++value;
  }
}

ado::LoadValue* TextSource::AddRow(RowBatch& batch, std::size_t width) {
  rowOffset_ = reader_.OffsetOf(row_);
  return batch.AddRow(Origin(), width).data();
}

RowError TextSource::ScanError(const RowScan& scan) {
  const RowPlace at = PlaceOfByte(scan.at, scanner_->Fields().size() + 1);
  const std::string value = ShownText(scan.at, rowEnd_);
  return scan.outcome == RowScan::Outcome::OpenQuote ? RowError::OpenQuote(at, value)
                                                     : RowError::TextAfterQuote(at, value);
}

/// Checks the bytes of a field and makes it point to their UTF-8 text, still with its doubled
/// qualifiers.
std::optional<RowError> TextSource::DecodeField(RawField& field, std::size_t column,
                                                RowBatch& batch) {
  const std::string_view text(field.begin, static_cast<std::size_t>(field.end - field.begin));
  const std::size_t nul = text.find('\0');
  if (nul != text.npos) {
    const char* byte = &text[nul];
    return RowError::NulByte(PlaceOfByte(byte, column + 1), reader_.OffsetOf(byte),
                             ShownText(field.begin, field.end));
  }
  decoded_.clear();
  const CodePage* const codePage = encoding_.codePage.get();
  const std::size_t valid =
      codePage ? codePage->DecodeStrict(text, decoded_) : ValidUtf8Length(text);
  if (valid < text.size()) {
    const char* byte = &text[valid];
    const std::uint64_t offset = reader_.OffsetOf(byte);
    return RowError::InvalidByte(
        PlaceOfByte(byte, column + 1),
        static_cast<unsigned char>(reader_.Original(offset, offset + 1)[0]), offset, encoding_.name,
        ShownText(field.begin, field.end));
  }
  if (!codePage) return std::nullopt;
  const std::span<char> copy =
      batch.Allocate(decoded_.size() + BlockReader::kBytesBehind).first(decoded_.size());
  std::ranges::copy(decoded_, copy.begin());
  field.begin = copy.data();
  field.end = copy.data() + copy.size();
  return std::nullopt;
}

bool TextSource::IsEmptyLine() {
  const std::span<const RawField> fields = scanner_->Fields();
  return fields.size() == 1 && !fields[0].quoted && fields[0].begin == fields[0].end;
}

void TextSource::TakeEmptyLine(RowBatch& batch) {
  const RowOrigin origin = Origin();
  emptyLines_.push_back({origin, std::string(origin.bytes)});
  if (emptyLines_.size() > kMaxEmptyLines) RefuseEmptyLines(batch);
}

void TextSource::RefuseEmptyLines(RowBatch& batch) {
  for (const EmptyLine& line : emptyLines_) {
    RowOrigin origin = line.origin;
    origin.bytes = batch.Store(line.bytes);
    batch.AddBadRow(origin,
                    RowError::TooFewFields({PlaceOfLine(origin.position)}, columns_.size(), 0));
  }
  emptyLines_.clear();
}

void TextSource::BeginLongRow(const RowScan& scan) {
  char* end = row_ + kLongRowBytes;
  // Decoded text can be cut between characters alone, which have up to four bytes.
  for (int back = 0; back < 3 && (*end & 0xC0) == 0x80; ++back) --end;
  long_.emplace();
  long_->origin = {line_, reader_.OffsetOf(row_)};
  long_->bytes = reader_.Original(long_->origin.offset, reader_.OffsetOf(end));
  RowScanner::Skip atLimit = RowScanner::Skip::FieldStart;
  scanner_->SkipRow(atLimit, row_, row_ + kMaxRowBytes, false);
  long_->insideQuotes = atLimit == RowScanner::Skip::Quoted;
  const bool isOpen = long_->insideQuotes && scan.outcome != RowScan::Outcome::Row;
  long_->at =
      isOpen ? PlaceOfByte(scan.at, scanner_->Fields().size() + 1) : RowPlace{PlaceOfLine(line_)};
}

/// Goes on through a row that is too long, which ends in this block or a later one.
bool TextSource::SkipLongRow(RowBatch& batch) {
  const RowScan scan = scanner_->SkipRow(long_->state, row_, block_.end, block_.last);
  rowEnd_ = scan.at;
  if (countsLineFeeds_) line_ += LinesIn(row_, rowEnd_);
  row_ = rowEnd_;
  if (scan.outcome != RowScan::Outcome::Row) return false;
  if (!countsLineFeeds_) ++line_;
  RefuseEmptyLines(batch);
  RowOrigin origin = long_->origin;
  origin.length = reader_.OffsetOf(row_) - origin.offset;
  origin.bytes = batch.Store(long_->bytes);
  batch.AddBadRow(origin,
                  RowError::TooLong(long_->at, kMaxRowBytes, reader_.OffsetOf(row_) - origin.offset,
                                    origin.offset, long_->insideQuotes));
  long_.reset();
  return true;
}

RowOrigin TextSource::Origin() {
  const std::uint64_t end = reader_.OffsetOf(rowEnd_);
  return {line_, rowOffset_, end - rowOffset_, reader_.Original(rowOffset_, end)};
}

void TextSource::EndRow(const RowScan& scan) {
  const bool isKnown = scan.outcome == RowScan::Outcome::Row && format_.rowDelimiter.empty();
  line_ += isKnown ? 1 + scanner_->LinesInside() : LinesIn(row_, rowEnd_);
  row_ = rowEnd_;
}

/// A row delimiter without a line feed makes each row one line.
std::int64_t TextSource::LinesIn(const char* from, const char* to) const {
  return countsLineFeeds_ ? std::count(from, to, '\n') : 1;
}

std::string TextSource::PlaceOfLine(std::int64_t line) const {
  return path_ + ", " + lineWord_ + " " + std::to_string(line);
}

RowPlace TextSource::PlaceOfByte(const char* byte, std::size_t column) const {
  const std::int64_t line = countsLineFeeds_ ? line_ + LinesIn(row_, byte) : line_;
  return {PlaceOfLine(line), column, column <= columns_.size() ? columns_[column - 1] : ""};
}

std::string TextSource::Encoded(const std::string& text) const {
  return encoding_.codePage ? encoding_.codePage->Encode(text) : text;
}

std::string TextSource::ShownText(const char* begin, const char* end) const {
  const std::string_view text(begin, std::min(static_cast<std::size_t>(end - begin), kShownBytes));
  return encoding_.codePage ? encoding_.codePage->Decode(text) : std::string(text);
}

std::unique_ptr<TextSource> NewTextSource(TextInput input, const CodePages& codePages,
                                          const TextFormat& format) {
  const auto make = format.layout == TextLayout::Fixed ? NewFixedText : NewDelimitedText;
  return make(std::move(input), codePages, format);
}

std::unique_ptr<RowSource> OpenTextSource(Files& files, const CodePages& codePages,
                                          const std::string& path, const TextFormat& format) {
  auto source = NewTextSource(OpenTextInput(files, path, format.compression), codePages, format);
  source->Start();
  return source;
}

}  // namespace torvik::engine
