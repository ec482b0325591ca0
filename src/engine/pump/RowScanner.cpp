#include "engine/pump/RowScanner.h"

#include <utility>

namespace torvik::engine {
namespace {

/// What a byte may be, one bit each.
constexpr std::uint8_t kDelimiter = 1;  // the first byte of a column or row delimiter
constexpr std::uint8_t kQualifier = 2;
constexpr std::uint8_t kNonAscii = 4;
constexpr std::uint8_t kNul = 8;

std::size_t Index(char byte) {
  return static_cast<unsigned char>(byte);
}

enum class Match { No, Yes, Unknown };

/// Whether `text` stands at `p`. Unknown: it may, once the bytes behind `end` are there.
Match MatchAt(const char* p, const char* end, bool last, std::string_view text) {
  for (const char wanted : text) {
    if (p == end) return last ? Match::No : Match::Unknown;
    if (*p++ != wanted) return Match::No;
  }
  return Match::Yes;
}

}  // namespace

RowScanner::RowScanner(std::string columnDelimiter, std::vector<std::string> rowDelimiters,
                       std::string_view qualifier)
    : columnDelimiter_(std::move(columnDelimiter)), rowDelimiters_(std::move(rowDelimiters)) {
  for (std::size_t byte = 0x80; byte <= 0xFF; ++byte) kinds_[byte] |= kNonAscii;
  kinds_[0] |= kNul;
  kinds_[Index(columnDelimiter_[0])] |= kDelimiter;
  for (const std::string& delimiter : rowDelimiters_) kinds_[Index(delimiter[0])] |= kDelimiter;
  if (!qualifier.empty()) kinds_[Index(qualifier[0])] |= kQualifier;
}

RowScan RowScanner::Scan(char* from, char* end, bool last) {
  fields_.clear();
  for (char* p = from;;) {
    RawField field;
    const bool quoted = p < end && (kinds_[Index(*p)] & kQualifier) != 0;
    const RowScan found = quoted ? ScanQuoted(p, end, last, field) : ScanPlain(p, end, last, field);
    const bool rowEnded = found.outcome == RowScan::Outcome::Row;
    if (!rowEnded && found.outcome != RowScan::Outcome::Field) return found;
    fields_.push_back(field);
    if (rowEnded) return found;
    p = found.at;
  }
}

RowScan RowScanner::SkipLine(char* from, char* end, bool last) const {
  RawField ignored;
  for (char* p = from;; ++p) {
    p = SkipTo(kDelimiter, p, end, ignored);
    std::size_t length = 0;
    if (p == end) break;
    for (const std::string& delimiter : rowDelimiters_) {
      const Match match = MatchAt(p, end, last, delimiter);
      if (match == Match::Unknown) return {RowScan::Outcome::NeedMore};
      if (match == Match::Yes) length = delimiter.size();
    }
    if (length > 0) return {RowScan::Outcome::Row, p + length};
  }
  if (!last) return {RowScan::Outcome::NeedMore};
  return {RowScan::Outcome::Row, end};
}

/// The next byte that is one of `kinds`, or `end`; notes what the bytes before it are.
char* RowScanner::SkipTo(std::uint8_t kinds, char* p, char* end, RawField& field) const {
  std::uint8_t seen = 0;
  for (; p < end; ++p) {
    const std::uint8_t kind = kinds_[Index(*p)];
    if ((kind & kinds) != 0) break;
    seen |= kind;
  }
  field.nonAscii |= (seen & kNonAscii) != 0;
  field.nul |= (seen & kNul) != 0;
  return p;
}

/// Which delimiter stands at `p`. A row delimiter goes first: it may begin with the column's.
RowScanner::Ending RowScanner::EndingAt(char* p, char* end, bool last, std::size_t& length) const {
  length = 0;
  if (p == end) return last ? Ending::Row : Ending::Unknown;
  for (const std::string& delimiter : rowDelimiters_) {
    const Match match = MatchAt(p, end, last, delimiter);
    length = delimiter.size();
    if (match != Match::No) return match == Match::Yes ? Ending::Row : Ending::Unknown;
  }
  const Match match = MatchAt(p, end, last, columnDelimiter_);
  length = columnDelimiter_.size();
  if (match == Match::No) return Ending::None;
  return match == Match::Yes ? Ending::Column : Ending::Unknown;
}

RowScan RowScanner::ScanPlain(char* p, char* end, bool last, RawField& field) const {
  field.begin = p;
  for (;; ++p) {
    p = SkipTo(kDelimiter, p, end, field);
    std::size_t length = 0;
    const Ending ending = EndingAt(p, end, last, length);
    if (ending == Ending::Unknown) return {RowScan::Outcome::NeedMore};
    if (ending == Ending::None) {
      field.nonAscii |= (kinds_[Index(*p)] & kNonAscii) != 0;
      continue;
    }
    field.end = p;
    return {ending == Ending::Row ? RowScan::Outcome::Row : RowScan::Outcome::Field, p + length};
  }
}

RowScan RowScanner::ScanQuoted(char* p, char* end, bool last, RawField& field) const {
  char* const quote = p++;
  field.begin = p;
  field.quoted = true;
  for (;; p += 2) {
    p = SkipTo(kQualifier, p, end, field);
    if (p == end && last) return {RowScan::Outcome::OpenQuote, quote};
    if (p == end) return {RowScan::Outcome::NeedMore, quote};
    if (p + 1 == end || p[1] != *quote) break;
    field.doubled = true;
  }
  field.end = p++;
  std::size_t length = 0;
  const Ending ending = EndingAt(p, end, last, length);
  if (ending == Ending::Unknown) return {RowScan::Outcome::NeedMore};
  if (ending == Ending::None) return {RowScan::Outcome::TextAfterQuote, p};
  return {ending == Ending::Row ? RowScan::Outcome::Row : RowScan::Outcome::Field, p + length};
}

}  // namespace torvik::engine
