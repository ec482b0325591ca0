#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <utility>

#include "engine/pump/BlockReader.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowScanner.h"
#include "engine/pump/RowSource.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kMaxRowBytes = std::size_t{16} << 20;
constexpr std::size_t kAllRows = static_cast<std::size_t>(-1);
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr char kUtf8[] = "utf-8";

/// Reads blocks straight into a batch and lets its values point there: a value is copied only when
/// its bytes are not those of the text.
class DelimitedText final : public RowSource {
 public:
  DelimitedText(Files& files, const CodePages& codePages, const std::string& path,
                const DelimitedFormat& format);

  const std::vector<std::string>& Columns() const override { return columns_; }
  bool Fetch(RowBatch& batch) override;
  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return PlaceOfLine(batch.Position(row));
  }
  bool CanReadAhead() const override { return true; }

 private:
  void OpenEncoding(const CodePages& codePages, const std::string& name);
  void BuildScanner(const DelimitedFormat& format);
  void NameColumnsByHeader();
  void NameColumnsByNumber();

  bool ReadRows(RowBatch& batch, std::size_t maxRows);
  char* TakeRows(RowBatch& batch, std::size_t maxRows);
  void TakeRow(RowBatch& batch);
  ado::LoadValue TakeField(const RawField& field, std::size_t column, RowBatch& batch);
  std::span<char> Decode(std::span<char> bytes, std::size_t column, RowBatch& batch);

  std::string Encoded(const std::string& text) const;
  std::int64_t LinesIn(const char* from, const char* to) const;
  std::string PlaceOfLine(std::int64_t line) const;
  RowPlace PlaceOfByte(const char* byte, std::size_t column) const;
  std::uint64_t OffsetOf(const char* byte) const;
  void CheckScan(const RowScan& scan) const;

  std::string path_;
  BlockReader reader_;
  std::unique_ptr<CodePage> codePage_;  // null for UTF-8, which needs no conversion
  std::string encoding_;
  std::optional<RowScanner> scanner_;
  bool countsLineFeeds_ = true;
  char qualifier_ = '\0';
  int linesToSkip_;
  std::vector<std::string> columns_;
  std::optional<RowBatch> first_;  // the row that told how many columns there are

  TextBlock block_;
  char* row_ = nullptr;         // where the current row starts
  std::int64_t line_ = 1;       // the line on which it starts
  std::int64_t emptyLine_ = 0;  // the first of the empty lines just passed; 0: none
  std::string decoded_;
};

DelimitedText::DelimitedText(Files& files, const CodePages& codePages, const std::string& path,
                             const DelimitedFormat& format)
    : path_(path), reader_(files, path), linesToSkip_(std::max(format.skipRows, 0)) {
  OpenEncoding(codePages, format.encoding);
  BuildScanner(format);
  if (format.firstRowColumnName)
    NameColumnsByHeader();
  else if (format.columnNames.empty())
    NameColumnsByNumber();
  else
    columns_ = format.columnNames;
}

void DelimitedText::OpenEncoding(const CodePages& codePages, const std::string& name) {
  encoding_ = LowerAscii(name);
  if (encoding_ == kUtf8) return;
  codePage_ = codePages.Open(encoding_);
  if (!codePage_) throw RowError::UnknownEncoding(path_, name);
}

void DelimitedText::BuildScanner(const DelimitedFormat& format) {
  const std::string column = Encoded(format.columnDelimiter);
  std::vector<std::string> rows = {"\n", "\r\n"};
  if (!format.rowDelimiter.empty()) rows = {Encoded(format.rowDelimiter)};
  const std::string& qualifier = format.textQualifier;

  if (column.empty()) throw RowError::BadFormat(path_, "the column delimiter is empty");
  if (std::ranges::find(rows, column) != rows.end())
    throw RowError::BadFormat(path_, "the column delimiter also ends rows");
  if (qualifier.size() > 1 || (!qualifier.empty() && (qualifier[0] & 0x80) != 0))
    throw RowError::BadFormat(path_, "the text qualifier is not one ASCII character");
  if (!qualifier.empty() && (column[0] == qualifier[0] || rows[0][0] == qualifier[0]))
    throw RowError::BadFormat(path_, "the text qualifier also begins a delimiter");

  if (!qualifier.empty()) qualifier_ = qualifier[0];
  countsLineFeeds_ = rows[0].find('\n') != std::string::npos;
  scanner_.emplace(column, std::move(rows), qualifier);
}

std::string NumberedName(std::size_t column) {
  char name[32];
  std::snprintf(name, sizeof name, "Col%03zu", column + 1);
  return name;
}

void DelimitedText::NameColumnsByHeader() {
  RowBatch header;
  const bool found = ReadRows(header, 1);
  const std::string place = PlaceOfLine(found ? header.Position(0) : line_);
  if (!found || (header.Row(0).size() == 1 && !header.Row(0)[0]))
    throw RowError::MissingHeader({place});
  std::map<std::string, std::size_t> seen;
  for (const ado::LoadValue& name : header.Row(0)) {
    const std::size_t column = columns_.size();
    columns_.push_back(name ? std::string(*name) : NumberedName(column));
    const auto [earlier, isNew] = seen.try_emplace(columns_.back(), column + 1);
    if (!isNew)
      throw RowError::DuplicateHeader({place, column + 1, columns_.back()}, earlier->second);
  }
}

void DelimitedText::NameColumnsByNumber() {
  RowBatch first;
  if (!ReadRows(first, 1)) return;
  for (std::size_t column = 0; column < first.Row(0).size(); ++column)
    columns_.push_back(NumberedName(column));
  first_ = std::move(first);
}

bool DelimitedText::Fetch(RowBatch& batch) {
  if (!first_) return ReadRows(batch, kAllRows);
  batch = std::move(*first_);
  first_.reset();
  return true;
}

bool DelimitedText::ReadRows(RowBatch& batch, std::size_t maxRows) {
  batch.Clear();
  do {
    block_ = reader_.Next(batch);
    reader_.Keep(block_, TakeRows(batch, maxRows));
  } while (batch.RowCount() == 0 && !block_.last);
  return batch.RowCount() > 0;
}

/// Takes the rows that end in the block; answers where the rest begins.
char* DelimitedText::TakeRows(RowBatch& batch, std::size_t maxRows) {
  row_ = block_.begin;
  if (block_.offset == 0 && !codePage_ &&
      std::string_view(block_.begin, block_.end).starts_with(kByteOrderMark))
    row_ += kByteOrderMark.size();
  while (row_ < block_.end && batch.RowCount() < maxRows) {
    const RowScan scan = linesToSkip_ > 0 ? scanner_->SkipLine(row_, block_.end, block_.last)
                                          : scanner_->Scan(row_, block_.end, block_.last);
    CheckScan(scan);
    if (scan.outcome == RowScan::Outcome::NeedMore) break;
    if (linesToSkip_ > 0)
      --linesToSkip_;
    else
      TakeRow(batch);
    line_ += LinesIn(row_, scan.at);
    row_ = scan.at;
  }
  return row_;
}

/// An empty line at the end of the file is none; whether it stands there shows the next row. A file
/// of one column has no other way to write NULL, so there it is a row.
void DelimitedText::TakeRow(RowBatch& batch) {
  const std::span<const RawField> fields = scanner_->Fields();
  const std::size_t want = columns_.size(), got = fields.size();
  if (want > 1 && got == 1 && !fields[0].quoted && fields[0].begin == fields[0].end) {
    if (emptyLine_ == 0) emptyLine_ = line_;
    return;
  }
  if (emptyLine_ != 0) throw RowError::TooFewFields({PlaceOfLine(emptyLine_)}, want, 0);
  if (want != 0 && got < want) throw RowError::TooFewFields({PlaceOfLine(line_), got}, want, got);
  if (want != 0 && got > want)
    throw RowError::TooManyFields(PlaceOfByte(fields[want].begin, want + 1), want, got);
  const std::span<ado::LoadValue> values = batch.AddRow(line_, got);
  for (std::size_t column = 0; column < got; ++column)
    values[column] = TakeField(fields[column], column, batch);
}

std::span<char> Undouble(std::span<char> text, char qualifier, RowBatch& batch) {
  const std::span<char> single = batch.Allocate(text.size());
  auto to = single.begin();
  for (auto from = text.begin(); from != text.end(); ++from) {
    if (*from == qualifier) ++from;
    *to++ = *from;
  }
  return {single.begin(), to};
}

ado::LoadValue DelimitedText::TakeField(const RawField& field, std::size_t column,
                                        RowBatch& batch) {
  std::span<char> text(field.begin, field.end);
  if (text.empty() && !field.quoted) return std::nullopt;
  if (field.nul) {
    const char* nul = &*std::ranges::find(text, '\0');
    throw RowError::NulByte(PlaceOfByte(nul, column + 1), OffsetOf(nul));
  }
  if (field.nonAscii) text = Decode(text, column, batch);
  if (field.doubled) text = Undouble(text, qualifier_, batch);
  return std::string_view(text.data(), text.size());
}

/// The UTF-8 text of a field's bytes, still with its doubled qualifiers.
std::span<char> DelimitedText::Decode(std::span<char> bytes, std::size_t column, RowBatch& batch) {
  const std::string_view text(bytes.data(), bytes.size());
  decoded_.clear();
  const std::size_t invalid =
      codePage_ ? codePage_->DecodeStrict(text, decoded_) : ValidUtf8Length(text);
  if (invalid < text.size()) {
    const char* byte = &bytes[invalid];
    throw RowError::InvalidByte(PlaceOfByte(byte, column + 1), static_cast<unsigned char>(*byte),
                                OffsetOf(byte), encoding_);
  }
  if (!codePage_) return bytes;
  const std::span<char> copy = batch.Allocate(decoded_.size());
  std::ranges::copy(decoded_, copy.begin());
  return copy;
}

std::string DelimitedText::Encoded(const std::string& text) const {
  return codePage_ ? codePage_->Encode(text) : text;
}

/// A row delimiter without a line feed makes each row one line.
std::int64_t DelimitedText::LinesIn(const char* from, const char* to) const {
  return countsLineFeeds_ ? std::count(from, to, '\n') : 1;
}

std::string DelimitedText::PlaceOfLine(std::int64_t line) const {
  return path_ + ", line " + std::to_string(line);
}

RowPlace DelimitedText::PlaceOfByte(const char* byte, std::size_t column) const {
  const std::int64_t line = countsLineFeeds_ ? line_ + LinesIn(row_, byte) : line_;
  return {PlaceOfLine(line), column, column <= columns_.size() ? columns_[column - 1] : ""};
}

std::uint64_t DelimitedText::OffsetOf(const char* byte) const {
  return block_.offset + static_cast<std::uint64_t>(byte - block_.begin);
}

void DelimitedText::CheckScan(const RowScan& scan) const {
  using enum RowScan::Outcome;
  const std::size_t column = scanner_->Fields().size() + 1;
  if (scan.outcome == OpenQuote) throw RowError::OpenQuote(PlaceOfByte(scan.at, column));
  if (scan.outcome == TextAfterQuote) throw RowError::TextAfterQuote(PlaceOfByte(scan.at, column));

  const bool complete = scan.outcome == Row;
  const char* end = complete ? scan.at : block_.end;
  if (static_cast<std::size_t>(end - row_) <= kMaxRowBytes) return;
  const bool insideQuotes = !complete && scan.at != nullptr;
  throw RowError::TooLong(
      insideQuotes ? PlaceOfByte(scan.at, column) : RowPlace{PlaceOfLine(line_)}, kMaxRowBytes,
      insideQuotes);
}

}  // namespace

std::unique_ptr<RowSource> OpenDelimitedText(Files& files, const CodePages& codePages,
                                             const std::string& path,
                                             const DelimitedFormat& format) {
  return std::make_unique<DelimitedText>(files, codePages, path, format);
}

}  // namespace torvik::engine
