#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/pump/text/ByteMasks.h"

namespace torvik::engine {

/// One field as it stands in the text: its extent without the qualifiers around it.
struct RawField {
  char* begin = nullptr;
  char* end = nullptr;
  bool quoted = false;
  bool doubled = false;  ///< Holds doubled qualifiers.
  bool odd = false;      ///< Holds NUL bytes or bytes from 0x80.
};

/// How the search for one row ended.
struct RowScan {
  enum class Outcome { Row, NeedMore, OpenQuote, TextAfterQuote };
  Outcome outcome;
  /// Row: behind the row's end. OpenQuote: the quote. TextAfterQuote: that text. NeedMore: the
  /// quote that is open, else null; of SkipRow and SkipLine, from where to go on.
  char* at = nullptr;
};

/// Finds rows and their fields in delimited text; copies and changes nothing.
class RowScanner {
 public:
  /// All texts as they stand in what is scanned. `columnDelimiter` empty: a row is one field.
  /// `rowDelimiter` empty: LF or CR LF. `qualifier` is one byte or empty.
  RowScanner(std::string columnDelimiter, const std::string& rowDelimiter,
             std::string_view qualifier);

  /// Looks for the row that starts at `from`, which lies before `end`. `last`: the file ends at
  /// `end`, so the row ends there too if nothing else ends it.
  RowScan Scan(char* from, char* end, bool last);

  /// Where a row that is skipped stands.
  enum class Skip { FieldStart, Plain, Quoted };

  /// Goes on through a row without taking its fields; `state` is where it stands at `from`.
  RowScan SkipRow(Skip& state, char* from, char* end, bool last) const;

  /// Looks for the end of the line at `from`; quotes mean nothing.
  RowScan SkipLine(char* from, char* end, bool last) const;

  /// The fields of the row that Scan has found; after an error those before the one at fault.
  std::span<RawField> Fields() { return {fields_.data(), count_}; }
  /// Which of them are odd.
  std::span<const std::size_t> OddFields() const { return {odd_.data(), oddCount_}; }
  /// How many lines end in quoted fields of that row, where rows end in LF or CR LF.
  std::int64_t LinesInside() const { return linesInside_; }

 private:
  enum class Ending { None, Column, Row, Unknown };
  struct Window;

  Ending EndingAt(const char* p, const char* end, bool last, std::size_t& length) const;
  template <bool kIsSimple>
  RowScan ScanRow(char* from, char* end, bool last);
  template <bool kIsSimple>
  Ending PlainField(Window& window, RawField& field, char*& next) const;
  template <bool kIsSimple>
  Ending QuotedField(Window& window, RawField& field, char*& next, RowScan& failure);

  const std::string columnDelimiter_;
  const std::vector<std::string> rowDelimiters_;
  const bool endsInLineFeed_;  // LF or CR LF
  const bool isSimple_;        // one byte tells what ends a field
  const std::uint64_t quoteBits_;
  const char rowByte_, columnByte_, quoteByte_;  // by which delimiters and quotes begin
  const ByteSet set_;
  std::vector<RawField> fields_;
  std::size_t count_ = 0;
  std::vector<std::size_t> odd_;
  std::size_t oddCount_ = 0;
  std::int64_t linesInside_ = 0;
};

}  // namespace torvik::engine
