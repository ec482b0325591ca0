#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/pump/text/ByteMasks.h"

namespace torvik::engine {

/// Where the fields of the next rows end, found 64 bytes at a time, in text whose delimiters are
/// one byte each. It goes only as far as the text is well formed: each quote opens at the start of
/// a field and closes at its end. What is wrong behind that, if anything is, tells RowScanner.
class RowIndex {
 public:
  struct Rules {
    char column, row, quote;
    bool hasQuotes;
    bool endsInLineFeed;  ///< CR may stand before the row's delimiter.
    bool isUtf8;  ///< The index ends before NUL or what is not UTF-8; else it takes any byte.
  };

  explicit RowIndex(const Rules& rules)
      : rules_(rules), set_(rules.column, rules.row, rules.quote) {}

  /// Forgets the text. Belongs before each change of it.
  void Clear() { start_ = nullptr; }

  /// Where the fields of the row at `row` end, the last at the row's delimiter. Empty when the row
  /// has not `width` of them, which is more than 0, or may be wrong. The rows of a text must be
  /// asked for in their order; between `row` and `end` it stays as it is.
  std::span<const std::uint16_t> FieldEnds(const char* row, const char* end, std::size_t width);
  /// What they are counted from.
  const char* Start() const { return start_; }

  /// Of the row found last, or a part of it.
  bool HasQuote(const char* from, const char* to) const { return Any(quotes_, from, to); }
  /// NUL or bytes from 0x80.
  bool HasOdd(const char* from, const char* to) const { return Any(odd_, from, to); }
  /// Whether a row in the index may have row delimiters in quotes.
  bool MayHaveRowEndsInside() const { return hasRowEndsInside_; }

 private:
  static constexpr std::size_t kBlocks = 256;
  using Bits = std::array<std::uint64_t, kBlocks>;

  void Build(const char* from, const char* end);
  bool MayFollowQuotes(std::uint64_t bits, const char* block, const char* end) const;
  bool IsUtf8(std::uint64_t odd, const char* block, const char* end);
  bool Any(const Bits& bits, const char* from, const char* to) const;

  const Rules rules_;
  const ByteSet set_;
  const char* start_ = nullptr;
  std::vector<std::uint16_t> ends_ = std::vector<std::uint16_t>(kBlocks * ByteMasks::kBytes);
  std::size_t count_ = 0, next_ = 0;
  int rowsToLeave_ = 0;
  bool hasRowEndsInside_ = false;
  const char* checked_ = nullptr;  // up to where the text is UTF-8
  Bits quotes_{}, odd_{};
};

inline bool RowIndex::Any(const Bits& bits, const char* from, const char* to) const {
  if (from >= to) return false;
  const auto first = static_cast<std::size_t>(from - start_);
  const auto last = static_cast<std::size_t>(to - 1 - start_);
  std::size_t at = first / ByteMasks::kBytes;
  std::uint64_t found = bits[at] & ~std::uint64_t{0} << first % ByteMasks::kBytes;
  for (; at < last / ByteMasks::kBytes; found = bits[++at])
    if (found != 0) return true;
  return found << (ByteMasks::kBytes - 1 - last % ByteMasks::kBytes) != 0;
}

}  // namespace torvik::engine
