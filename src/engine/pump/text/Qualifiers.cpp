#include "engine/pump/text/Qualifiers.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);

/// The position of the first of eight bytes that is `wanted`, 8 if none is.
std::size_t FirstOf(std::uint64_t bytes, char wanted) {
  constexpr std::uint64_t ones = 0x0101010101010101, highBits = 0x8080808080808080;
  if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
  const std::uint64_t zeros = bytes ^ (ones * static_cast<unsigned char>(wanted));
  const std::uint64_t found = (zeros - ones) & ~zeros & highBits;
  return static_cast<std::size_t>(std::countr_zero(found)) / 8;
}

/// The bytes from `at` on, eight at most; zeros behind the text's end.
std::uint64_t WordAt(std::string_view text, std::size_t at) {
  std::uint64_t word = 0;
  if (text.size() < kWord) {
    std::memcpy(&word, text.data() + at, text.size() - at);
    return word;
  }
  const std::size_t begin = std::min(at, text.size() - kWord);
  std::memcpy(&word, text.data() + begin, kWord);
  const std::size_t before = 8 * (at - begin);
  return std::endian::native == std::endian::big ? word << before : word >> before;
}

}  // namespace

/// Eight bytes at a time, as the values are short.
std::string_view Undoubled(std::string_view text, char qualifier, RowBatch& batch) {
  char* const single = batch.Allocate(text.size() + kWord).data();
  char* to = single;
  for (std::size_t from = 0; from < text.size();) {
    const std::uint64_t word = WordAt(text, from);
    std::memcpy(to, &word, kWord);
    const std::size_t size = std::min(text.size() - from, kWord);
    const std::size_t at = FirstOf(word, qualifier);
    to += std::min(at + 1, size);
    from += at < size ? at + 2 : size;
  }
  return {single, static_cast<std::size_t>(to - single)};
}

}  // namespace torvik::engine
