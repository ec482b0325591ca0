#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/TextEncoding.h"
#include "engine/pump/TextFormat.h"
#include "engine/pump/text/BlockReader.h"
#include "engine/pump/text/RowScanner.h"

namespace torvik::engine {

/// A row over the limit, of which only the start is kept.
struct LongRow {
  RowOrigin origin;
  std::string bytes;
  RowPlace at;
  bool insideQuotes = false;
  RowScanner::Skip state = RowScanner::Skip::FieldStart;
};

/// What tells where rows begin in the bytes of a file.
struct TextRules {
  RowScanner scanner;
  bool countsLineFeeds = true;  ///< Else each row is a line.
  std::size_t markBytes = 0;    ///< Of the byte-order mark.
  int linesToSkip = 0;          ///< Behind the mark.
};

/// A longer row is rejected.
constexpr std::size_t kMaxRowBytes = std::size_t{16} << 20;

struct EmptyLine {
  RowOrigin origin;
  std::string bytes;
};

/// What text files of both layouts have in common: lines, header line, encodings, rows that cannot
/// be read. Reads blocks straight into a batch and lets its values point there: a value is copied
/// only when its bytes are not those of the text.
class TextSource : public RowSource {
 public:
  TextSource(TextInput input, const CodePages& codePages, const TextFormat& format);

  /// Reads the header line or what else tells the columns. Belongs before all other calls.
  void Start();
  /// The same for what is not the file's start, whose columns are known.
  void Start(const std::vector<std::string>& columns) { columns_ = columns; }

  /// How the file can be cut between its rows, also before Start. Throws NotInParts when it cannot.
  TextRules Rules() const;

  const std::vector<std::string>& Columns() const final { return columns_; }
  bool Fetch(RowBatch& batch) final;
  std::string PlaceOf(const RowBatch& batch, std::size_t row) const final {
    return PlaceOfLine(batch.Origin(row).position);
  }
  std::string Header() const final { return header_; }
  std::string RowEnd() const final { return rowEndBytes_; }
  bool CanReadAhead() const final { return true; }

 protected:
  /// The row or the line at `from`, as RowScanner finds them.
  virtual RowScan FindRow(char* from, char* end, bool last) {
    return scanner_->Scan(from, end, last);
  }
  virtual RowScan FindLine(char* from, char* end, bool last) {
    return scanner_->SkipLine(from, end, last);
  }
  /// Cuts the row that was found into its fields and sets oddFields_.
  virtual std::optional<RowError> SplitRow(std::span<RawField>& fields) = 0;
  virtual bool IsEmptyLine();
  /// Before the first row of block_, whose text then stays as it is.
  virtual void BeginBlock() {}
  /// Takes the row at row_ and goes on behind it, where there is a faster way than FindRow's and
  /// nothing is wrong with the row; else leaves all as it is.
  virtual bool TakeWellFormedRow(RowBatch&) { return false; }
  /// Whether delimiters tell where rows end.
  virtual bool HasRowEnds() const { return true; }
  virtual void NameColumnsByNumber() = 0;

  void NameColumnsByFirstRow();
  void NameColumnsByNumber(std::size_t count);
  /// A text of the format as it stands in what is scanned.
  std::string Encoded(const std::string& text) const;
  RowPlace PlaceOfByte(const char* byte, std::size_t column) const;
  /// A value for a message.
  std::string ShownText(const char* begin, const char* end) const;
  /// Adds the row from row_ to rowEnd_; the caller sets its values.
  ado::LoadValue* AddRow(RowBatch& batch, std::size_t width);
  std::int64_t LinesIn(const char* from, const char* to) const;
  /// Whether each byte of the text is one character.
  bool IsSingleByte() const { return encoding_.codePage != nullptr; }

  const std::string path_;
  const TextFormat format_;
  std::optional<RowScanner> scanner_;
  std::vector<std::string> columns_;
  const char* lineWord_ = "line";  // "row", where rows are not lines
  bool countsLineFeeds_ = true;    // else each row is a line
  char qualifier_ = '\0';
  char* row_ = nullptr;     // where the current row starts
  char* rowEnd_ = nullptr;  // behind it
  TextBlock block_;
  std::int64_t line_;                       // the line on which it starts
  std::span<const std::size_t> oddFields_;  // which of its fields are

 private:
  std::string EncodedRowEnd(const CodePages& codePages) const;
  void NameColumnsByHeader();
  bool ReadRows(RowBatch& batch, bool stopAtRow);
  const char* TakeRows(RowBatch& batch, bool stopAtRow);
  bool TakeNext(RowBatch& batch);
  bool SkipLine();
  void TakeRow(RowBatch& batch, const RowScan& scan);
  RowError ScanError(const RowScan& scan);
  std::optional<RowError> DecodeField(RawField& field, std::size_t column, RowBatch& batch);
  void TakeEmptyLine(RowBatch& batch);
  void RefuseEmptyLines(RowBatch& batch);

  void BeginLongRow(const RowScan& scan);
  bool SkipLongRow(RowBatch& batch);

  RowOrigin Origin();
  void EndRow(const RowScan& scan);
  std::string PlaceOfLine(std::int64_t line) const;

  const bool isStart_;
  BlockReader reader_;
  std::string header_;  // the file's first bytes, as Header() gives them
  TextEncoding encoding_;
  std::string rowEndBytes_;
  int linesToSkip_;
  std::optional<RowBatch> first_;  // the row that told how many columns there are
  bool needsMore_ = false;         // the row at its end goes on behind it
  std::uint64_t rowOffset_ = 0;
  std::optional<LongRow> long_;
  std::vector<EmptyLine> emptyLines_;  // those just passed
  std::string decoded_;
};

}  // namespace torvik::engine
