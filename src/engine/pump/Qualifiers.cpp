#include "engine/pump/Qualifiers.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

/// The position of the first of eight bytes that is `wanted`, 8 if none is.
std::size_t FirstOf(std::uint64_t bytes, char wanted) {
  constexpr std::uint64_t ones = 0x0101010101010101, highBits = 0x8080808080808080;
  if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
  const std::uint64_t zeros = bytes ^ (ones * static_cast<unsigned char>(wanted));
  const std::uint64_t found = (zeros - ones) & ~zeros & highBits;
  return static_cast<std::size_t>(std::countr_zero(found)) / 8;
}

}  // namespace

/// Eight bytes at a time, as the values are short.
std::string_view Undoubled(std::string_view text, char qualifier, RowBatch& batch) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  char* const single = batch.Allocate(text.size() + kWord).data();
  char* to = single;
  while (!text.empty()) {
    const std::size_t size = std::min(text.size(), kWord);
    std::uint64_t word = 0;
    size == kWord ? std::memcpy(&word, text.data(), kWord) : std::memcpy(&word, text.data(), size);
    std::memcpy(to, &word, kWord);
    const std::size_t at = FirstOf(word, qualifier);
    to += std::min(at + 1, size);
    text.remove_prefix(std::min(at < size ? at + 2 : size, text.size()));
  }
  return {single, static_cast<std::size_t>(to - single)};
}

}  // namespace torvik::engine
