#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::engine {

/// One field as it stands in the text: its extent without the qualifiers around it.
struct RawField {
  char* begin = nullptr;
  char* end = nullptr;
  bool quoted = false;
  bool doubled = false;   ///< Holds doubled qualifiers.
  bool nonAscii = false;  ///< Holds bytes from 0x80.
  bool nul = false;       ///< Holds a NUL byte.
};

/// How the search for one row ended.
struct RowScan {
  enum class Outcome { Field, Row, NeedMore, OpenQuote, TextAfterQuote };
  Outcome outcome;
  /// Row: behind the row's end. OpenQuote: the quote; NeedMore: the same, null outside quotes.
  /// TextAfterQuote: that text. (Field, behind a field's end, is seen inside the scanner alone.)
  char* at = nullptr;
};

/// Finds rows and their fields in delimited text; copies and changes nothing.
class RowScanner {
 public:
  /// All texts in the bytes of the file; none but `qualifier` (one byte) may be empty.
  RowScanner(std::string columnDelimiter, std::vector<std::string> rowDelimiters,
             std::string_view qualifier);

  /// Looks for the row that starts at `from`, which lies before `end`. `last`: the file ends at
  /// `end`, so the row ends there too if nothing else ends it.
  RowScan Scan(char* from, char* end, bool last);

  /// Looks for the end of the line at `from`; quotes mean nothing.
  RowScan SkipLine(char* from, char* end, bool last) const;

  /// The fields of the row that Scan has found; after an error those before the one at fault.
  std::span<const RawField> Fields() const { return fields_; }

 private:
  enum class Ending { None, Column, Row, Unknown };

  char* SkipTo(std::uint8_t kinds, char* p, char* end, RawField& field) const;
  Ending EndingAt(char* p, char* end, bool last, std::size_t& length) const;
  RowScan ScanPlain(char* p, char* end, bool last, RawField& field) const;
  RowScan ScanQuoted(char* p, char* end, bool last, RawField& field) const;

  std::string columnDelimiter_;
  std::vector<std::string> rowDelimiters_;
  std::array<std::uint8_t, 256> kinds_{};
  std::vector<RawField> fields_;
};

}  // namespace torvik::engine
