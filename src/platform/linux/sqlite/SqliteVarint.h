#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace torvik {

/// The bytes that a number below 2^56 takes in SQLite's files where its length varies
/// (https://sqlite.org/fileformat2.html, 1.6).
inline std::size_t SqliteVarintSize(std::uint64_t number) {
  if (number < 0x80) return 1;
  return static_cast<std::size_t>(std::bit_width(number) + 6) / 7;
}

/// Writes such a number; answers where it ends.
inline unsigned char* WriteSqliteVarint(std::uint64_t number, unsigned char* at) {
  const std::size_t size = SqliteVarintSize(number);
  for (std::size_t i = size; i-- > 0; number >>= 7)
    at[i] = static_cast<unsigned char>((number & 0x7F) | (i + 1 < size ? 0x80 : 0));
  return at + size;
}

/// Writes the lowest `size` bytes of a number, the highest of them first; answers where it ends.
inline unsigned char* WriteSqliteNumber(std::uint64_t number, std::size_t size, unsigned char* at) {
  for (std::size_t i = size; i-- > 0;) *at++ = static_cast<unsigned char>(number >> (8 * i));
  return at;
}

}  // namespace torvik
