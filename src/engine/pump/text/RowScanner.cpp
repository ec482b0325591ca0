#include "engine/pump/text/RowScanner.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace torvik::engine {
namespace {

enum class Match { No, Yes, Unknown };

/// Whether `text` stands at `p`. Unknown: it may, once the bytes behind `end` are there.
Match MatchAt(const char* p, const char* end, bool last, std::string_view text) {
  for (const char wanted : text) {
    if (p == end) return last ? Match::No : Match::Unknown;
    if (*p++ != wanted) return Match::No;
  }
  return Match::Yes;
}

std::uint64_t BitsFrom(unsigned bit) {
  return ~std::uint64_t{0} << bit;
}

std::uint64_t BitsBelow(unsigned bit) {
  return (std::uint64_t{1} << bit) - 1;
}

}  // namespace

/// The 64 bytes that a scan has classified, somewhere between its start and its end.
struct RowScanner::Window {
  Window(const RowScanner& scanner, char* from, char* textEnd, bool isLast)
      : set(scanner.set_), end(textEnd), last(isLast), quoteBits(scanner.quoteBits_) {
    Load(from);
  }

  void Load(char* p) {
    base = p;
    masks = MasksOf(p, static_cast<std::size_t>(end - p), set);
    masks.quote &= quoteBits;
  }

  /// The bit of `p`, which lies at or behind the window's start.
  unsigned BitOf(char* p) {
    if (p - base >= static_cast<std::ptrdiff_t>(ByteMasks::kBytes)) Load(p);
    return static_cast<unsigned>(p - base);
  }

  /// Goes on to the next 64 bytes; false at the end.
  bool Advance() {
    if (end - base <= static_cast<std::ptrdiff_t>(ByteMasks::kBytes)) return false;
    Load(base + ByteMasks::kBytes);
    return true;
  }

  const ByteSet& set;
  char* const end;
  const bool last;
  const std::uint64_t quoteBits;
  char* base = nullptr;
  ByteMasks masks;
};

RowScanner::RowScanner(std::string columnDelimiter, const std::string& rowDelimiter,
                       std::string_view qualifier)
    : columnDelimiter_(std::move(columnDelimiter)),
      rowDelimiters_(rowDelimiter.empty() ? std::vector<std::string>{"\n", "\r\n"}
                                          : std::vector<std::string>{rowDelimiter}),
      endsInLineFeed_(rowDelimiter.empty()),
      isSimple_(columnDelimiter_.size() == 1 && rowDelimiters_[0].size() == 1 &&
                columnDelimiter_ != "\r" && columnDelimiter_ != rowDelimiters_[0]),
      quoteBits_(qualifier.empty() ? 0 : BitsFrom(0)),
      rowByte_(rowDelimiters_[0][0]),
      columnByte_(columnDelimiter_.empty() ? rowByte_ : columnDelimiter_[0]),
      quoteByte_(qualifier.empty() ? '\0' : qualifier[0]),
      set_(columnByte_, rowByte_, quoteByte_),
      fields_(16),
      odd_(16) {}

RowScan RowScanner::Scan(char* from, char* end, bool last) {
  return isSimple_ ? ScanRow<true>(from, end, last) : ScanRow<false>(from, end, last);
}

template <bool kIsSimple>
RowScan RowScanner::ScanRow(char* from, char* end, bool last) {
  Window window(*this, from, end, last);
  RowScan failure{RowScan::Outcome::NeedMore};
  linesInside_ = 0;
  RawField* fields = fields_.data();
  std::size_t* odd = odd_.data();
  std::size_t count = 0, oddCount = 0, room = fields_.size();
  Ending ending = Ending::Column;
  char* p = from;
  for (; ending == Ending::Column; ++count) {
    if (count == room) {
      fields_.resize(room *= 2);
      odd_.resize(room);
      fields = fields_.data();
      odd = odd_.data();
    }
    const bool quoted = p < end && *p == quoteByte_ && window.quoteBits != 0;
    RawField field{p};
    ending = quoted ? QuotedField<kIsSimple>(window, field, p, failure)
                    : PlainField<kIsSimple>(window, field, p);
    fields[count] = field;
    odd[oddCount] = count;
    oddCount += field.odd ? 1 : 0;
  }
  count_ = ending == Ending::Row ? count : count - 1;
  oddCount_ = oddCount;
  return ending == Ending::Row ? RowScan{RowScan::Outcome::Row, p} : failure;
}

/// Finds the end of a field without quotes; `next` gets where the text goes on behind it.
template <bool kIsSimple>
[[gnu::always_inline]] inline RowScanner::Ending RowScanner::PlainField(Window& window,
                                                                        RawField& field,
                                                                        char*& next) const {
  std::uint64_t odd = 0;
  for (unsigned bit = window.BitOf(field.begin);;) {
    const std::uint64_t ends = (window.masks.column | window.masks.row) & BitsFrom(bit);
    if (ends == 0) {
      odd |= window.masks.odd & BitsFrom(bit);
      if (window.Advance()) {
        bit = 0;
        continue;
      }
      field.end = next = window.end;
      field.odd = odd != 0;
      return window.last ? Ending::Row : Ending::Unknown;
    }
    const auto at = static_cast<unsigned>(std::countr_zero(ends));
    odd |= window.masks.odd & BitsFrom(bit) & BitsBelow(at);
    char* const p = window.base + at;
    std::size_t length = 1;
    Ending ending = (window.masks.row >> at & 1) != 0 ? Ending::Row : Ending::Column;
    if constexpr (!kIsSimple) ending = EndingAt(p, window.end, window.last, length);
    if (ending == Ending::None) {
      odd |= window.masks.odd & (std::uint64_t{1} << at);
      bit = window.BitOf(p + 1);
      continue;
    }
    field.end = p;
    field.odd = odd != 0;
    next = p + length;
    const bool mayHaveReturn = ending == Ending::Row && endsInLineFeed_ && p > field.begin;
    if (mayHaveReturn && p[-1] == '\r' && *p == '\n') --field.end;
    return ending;
  }
}

/// The same for a field that begins with a quote. None: `failure` says why there is no end.
template <bool kIsSimple>
[[gnu::always_inline]] inline RowScanner::Ending RowScanner::QuotedField(Window& window,
                                                                         RawField& field,
                                                                         char*& next,
                                                                         RowScan& failure) {
  char* const quote = field.begin++;
  std::uint64_t odd = 0;
  field.quoted = true;
  for (unsigned bit = window.BitOf(field.begin);;) {
    const std::uint64_t quotes = window.masks.quote & BitsFrom(bit);
    const auto at = static_cast<unsigned>(std::countr_zero(quotes));  // 64: none
    const std::uint64_t inside = BitsFrom(bit) & (quotes == 0 ? BitsFrom(0) : BitsBelow(at));
    odd |= window.masks.odd & inside;
    if (const std::uint64_t rows = window.masks.row & inside; rows != 0)
      linesInside_ += std::popcount(rows);
    if (quotes == 0) {
      if (window.Advance()) {
        bit = 0;
        continue;
      }
      failure = {window.last ? RowScan::Outcome::OpenQuote : RowScan::Outcome::NeedMore, quote};
      return Ending::None;
    }
    char* const p = window.base + at;
    if (p + 1 < window.end && p[1] == quoteByte_) {
      field.doubled = true;
      bit = window.BitOf(p + 2);
      continue;
    }
    field.end = p;
    field.odd = odd != 0;
    std::size_t length = 1;
    const bool isColumn = kIsSimple && p + 1 < window.end && p[1] == columnByte_;
    const Ending ending =
        isColumn ? Ending::Column : EndingAt(p + 1, window.end, window.last, length);
    if (ending == Ending::None) failure = {RowScan::Outcome::TextAfterQuote, p + 1};
    next = p + 1 + length;
    return ending;
  }
}

/// Which delimiter stands at `p`. A row delimiter goes first: it may begin with the column's.
RowScanner::Ending RowScanner::EndingAt(const char* p, const char* end, bool last,
                                        std::size_t& length) const {
  length = 0;
  if (p == end) return last ? Ending::Row : Ending::Unknown;
  for (const std::string& delimiter : rowDelimiters_) {
    const Match match = MatchAt(p, end, last, delimiter);
    length = delimiter.size();
    if (match != Match::No) return match == Match::Yes ? Ending::Row : Ending::Unknown;
  }
  if (columnDelimiter_.empty()) return Ending::None;
  const Match match = MatchAt(p, end, last, columnDelimiter_);
  length = columnDelimiter_.size();
  if (match == Match::No) return Ending::None;
  return match == Match::Yes ? Ending::Column : Ending::Unknown;
}

RowScan RowScanner::SkipRow(Skip& state, char* from, char* end, bool last) const {
  const RowScan atEnd =
      last ? RowScan{RowScan::Outcome::Row, end} : RowScan{RowScan::Outcome::NeedMore, end};
  for (char* p = from;;) {
    if (p == end) return atEnd;
    if (state == Skip::FieldStart) {
      state = quoteBits_ != 0 && *p == quoteByte_ ? Skip::Quoted : Skip::Plain;
      p += state == Skip::Quoted;
    } else if (state == Skip::Quoted) {
      p = std::find(p, end, quoteByte_);
      const bool isDoubled = end - p >= 2 && p[1] == quoteByte_;
      if (end - p == 1 && !last) return {RowScan::Outcome::NeedMore, p};
      if (p == end) continue;
      if (!isDoubled) state = Skip::Plain;
      p += isDoubled ? 2 : 1;
    } else {
      p = std::find_if(p, end, [this](char c) { return c == columnByte_ || c == rowByte_; });
      std::size_t length = 0;
      const Ending ending = EndingAt(p, end, last, length);
      if (ending == Ending::Unknown) return {RowScan::Outcome::NeedMore, p};
      if (ending == Ending::Row) return {RowScan::Outcome::Row, p + length};
      if (ending == Ending::Column) state = Skip::FieldStart;
      p += ending == Ending::None ? 1 : length;
    }
  }
}

RowScan RowScanner::SkipLine(char* from, char* end, bool last) const {
  for (char* p = from;; ++p) {
    p = std::find(p, end, rowByte_);
    if (p == end) return {last ? RowScan::Outcome::Row : RowScan::Outcome::NeedMore, end};
    const Match match = MatchAt(p, end, last, rowDelimiters_[0]);
    if (match == Match::Unknown) return {RowScan::Outcome::NeedMore, p};
    if (match == Match::Yes) return {RowScan::Outcome::Row, p + rowDelimiters_[0].size()};
  }
}

}  // namespace torvik::engine
