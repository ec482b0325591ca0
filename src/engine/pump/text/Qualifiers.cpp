#include "engine/pump/text/Qualifiers.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/pump/RowBatch.h"
#include "engine/pump/text/BlockReader.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace torvik::engine {
namespace {

constexpr std::size_t kStep = BlockReader::kBytesBehind;

/// Copies `kStep` bytes; answers the position of the first of them that is `wanted`, kStep if none
/// is.
std::size_t CopyAndFind(const char* from, char* to, char wanted) {
#ifdef __SSE2__
  static_assert(kStep == sizeof(__m128i));
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
  const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(wanted)));
  return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(found) | 1u << kStep));
#else
  std::memcpy(to, from, kStep);
  return static_cast<std::size_t>(std::find(from, from + kStep, wanted) - from);
#endif
}

}  // namespace

std::string_view Undoubled(std::string_view text, char qualifier, RowBatch& batch) {
  char* const single = batch.Allocate(text.size() + kStep).data();
  char* to = single;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t size = std::min(text.size() - from, kStep);
    const std::size_t at = CopyAndFind(text.data() + from, to, qualifier);
    to += std::min(at + 1, size);
    from += at < size ? at + 2 : size;
  }
  return {single, static_cast<std::size_t>(to - single)};
}

}  // namespace torvik::engine
