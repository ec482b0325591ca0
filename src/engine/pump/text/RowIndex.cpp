#include "engine/pump/text/RowIndex.h"

#include <bit>

#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Where one row is not well formed, others may be as little: they are not looked at first.
constexpr int kRowsToLeave = 8;

/// Each bit becomes the parity of itself and those below it.
std::uint64_t Parities(std::uint64_t bits) {
  for (const int shift : {1, 2, 4, 8, 16, 32}) bits ^= bits << shift;
  return bits;
}

}  // namespace

std::span<const std::uint16_t> RowIndex::FieldEnds(const char* row, const char* end,
                                                   std::size_t width) {
  // Rows that were read without the index are passed.
  if (start_ != nullptr)
    while (next_ < count_ && start_ + ends_[next_] < row) ++next_;
  if ((start_ == nullptr || next_ == count_) && row != start_) {
    if (rowsToLeave_ > 0) {
      --rowsToLeave_;
      return {};
    }
    Build(row, end);
    if (count_ == 0) rowsToLeave_ = kRowsToLeave;
  }
  if (count_ - next_ < width) return {};
  const std::span<const std::uint16_t> found(&ends_[next_], width);
  bool endsBefore = false;
  for (const std::uint16_t at : found.first(width - 1)) endsBefore |= start_[at] == rules_.row;
  if (endsBefore || start_[found.back()] != rules_.row) return {};
  next_ += width;
  return found;
}

void RowIndex::Build(const char* from, const char* end) {
  std::uint64_t open = 0;     // all bits: the block before ends in quotes
  std::uint64_t closed = 0;   // it ends with a closing quote
  std::uint64_t mayOpen = 1;  // with that or a delimiter
  std::uint64_t rowsInside = 0;
  std::uint16_t* out = ends_.data();
  start_ = checked_ = from;
  for (std::size_t number = 0; number < kBlocks; ++number) {
    const char* const block = from + number * ByteMasks::kBytes;
    if (block >= end) break;
    const ByteMasks masks = MasksOf(block, static_cast<std::size_t>(end - block), set_);
    const std::uint64_t quotes = rules_.hasQuotes ? masks.quote : 0;
    const std::uint64_t inside = Parities(quotes) ^ open;  // opening quotes are, closing are not
    const std::uint64_t closing = quotes & ~inside;
    std::uint64_t ends = (masks.column | masks.row) & ~inside;
    if ((quotes & inside & ~((ends | closing) << 1 | mayOpen)) != 0) break;
    const std::uint64_t behind = (closing << 1 | closed) & ~(ends | quotes);
    if (behind != 0 && !MayFollowQuotes(behind, block, end)) break;
    if (rules_.isUtf8 && masks.odd != 0 && !IsUtf8(masks.odd, block, end)) break;
    open = std::uint64_t{0} - (inside >> 63);
    closed = closing >> 63;
    mayOpen = (ends | closing) >> 63;
    rowsInside |= masks.row & inside;
    quotes_[number] = quotes;
    odd_[number] = masks.odd;
    for (; ends != 0; ends &= ends - 1)
      *out++ = static_cast<std::uint16_t>(block - from + std::countr_zero(ends));
  }
  while (out != ends_.data() && from[out[-1]] != rules_.row) --out;
  count_ = static_cast<std::size_t>(out - ends_.data());
  next_ = 0;
  hasRowEndsInside_ = rowsInside != 0;
}

/// Whether the bytes at `bits`, which are no delimiters, begin CR LF that ends a row.
bool RowIndex::MayFollowQuotes(std::uint64_t bits, const char* block, const char* end) const {
  for (; bits != 0; bits &= bits - 1) {
    const char* const p = block + std::countr_zero(bits);
    if (!rules_.endsInLineFeed || end - p < 2 || p[0] != '\r' || p[1] != '\n') return false;
  }
  return true;
}

/// Whether the characters that begin in a block are UTF-8 and none is NUL; `odd` tells which of its
/// bytes may not be.
bool RowIndex::IsUtf8(std::uint64_t odd, const char* block, const char* end) {
  if (checked_ > block) odd &= ~std::uint64_t{0} << (checked_ - block);
  while (odd != 0) {
    const char* const character = block + std::countr_zero(odd);
    const std::size_t length =
        CharacterLength({character, static_cast<std::size_t>(end - character)});
    if (length == 0 || *character == '\0') return false;
    checked_ = character + length;
    if (checked_ >= block + ByteMasks::kBytes) break;
    odd &= ~std::uint64_t{0} << (checked_ - block);
  }
  return true;
}

}  // namespace torvik::engine
