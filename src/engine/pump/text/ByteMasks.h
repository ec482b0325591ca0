#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace torvik::engine {

/// The bytes that a scan looks for, each as often as it is compared at once.
struct ByteSet {
  alignas(16) std::array<char, 16> column{}, row{}, quote{};

  ByteSet(char columnByte, char rowByte, char quoteByte) {
    column.fill(columnByte);
    row.fill(rowByte);
    quote.fill(quoteByte);
  }
};

/// Which of 64 bytes are what: a bit each, the first byte's the lowest.
struct ByteMasks {
  static constexpr std::size_t kBytes = 64;
  std::uint64_t column = 0, row = 0, quote = 0;
  std::uint64_t odd = 0;  ///< NUL, or from 0x80.
};

/// Classifies the 64 bytes at `p`.
inline ByteMasks MasksOf(const char* p, const ByteSet& set) {
  ByteMasks masks;
#ifdef __SSE2__
  const auto load = [](const char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  };
  const __m128i column = load(set.column.data()), row = load(set.row.data());
  const __m128i quote = load(set.quote.data()), one = _mm_set1_epi8(1);
  const auto bits = [](__m128i equal, unsigned shift) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_movemask_epi8(equal)))
           << shift;
  };
  for (unsigned at = 0; at < ByteMasks::kBytes; at += 16) {
    const __m128i bytes = load(p + at);
    masks.column |= bits(_mm_cmpeq_epi8(bytes, column), at);
    masks.row |= bits(_mm_cmpeq_epi8(bytes, row), at);
    masks.quote |= bits(_mm_cmpeq_epi8(bytes, quote), at);
    masks.odd |= bits(_mm_cmplt_epi8(bytes, one), at);  // signed: bytes from 0x80 are below 0
  }
#else
  for (unsigned at = 0; at < ByteMasks::kBytes; ++at) {
    const char c = p[at];
    masks.column |= std::uint64_t{c == set.column[0]} << at;
    masks.row |= std::uint64_t{c == set.row[0]} << at;
    masks.quote |= std::uint64_t{c == set.quote[0]} << at;
    masks.odd |= std::uint64_t{c == 0 || (c & 0x80) != 0} << at;
  }
#endif
  return masks;
}

/// The same when fewer bytes are left: the bits behind them are 0.
inline ByteMasks MasksOf(const char* p, std::size_t left, const ByteSet& set) {
  if (left >= ByteMasks::kBytes) return MasksOf(p, set);
  char copy[ByteMasks::kBytes] = {};
  std::memcpy(copy, p, left);
  ByteMasks masks = MasksOf(copy, set);
  const std::uint64_t there = (std::uint64_t{1} << left) - 1;
  masks.column &= there, masks.row &= there, masks.quote &= there, masks.odd &= there;
  return masks;
}

}  // namespace torvik::engine
