#include "platform/linux/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace torvik {
namespace {

/// How many bytes a character has that begins with a byte, and the range of its second byte, which
/// is what keeps out overlong forms, surrogates and numbers that are too high.
struct Lead {
  std::size_t length;
  unsigned char secondFirst = 0x80, secondLast = 0xBF;
};

Lead LeadOf(unsigned char first) {
  if (first < 0x80) return {1};
  if (first < 0xC2) return {0};
  if (first < 0xE0) return {2};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0};
}

}  // namespace

std::size_t AsciiLength(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t word; length + sizeof word <= text.size(); length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & highBits) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
  return length;
}

std::size_t CharacterLength(std::string_view text) {
  const Lead lead = LeadOf(static_cast<unsigned char>(text[0]));
  if (lead.length < 2) return lead.length;
  if (text.size() < lead.length) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  if (second < lead.secondFirst || second > lead.secondLast) return 0;
  for (std::size_t i = 2; i < lead.length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  return lead.length;
}

std::size_t ValidUtf8Length(std::string_view text) {
  std::size_t at = 0;
  for (;;) {
    at += AsciiLength(text.substr(at));
    if (at == text.size()) return at;
    const std::size_t length = CharacterLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
}

std::size_t Utf8LengthOf(std::string_view text, std::size_t characters) {
  std::size_t at = 0;
  for (; characters > 0 && at < text.size(); --characters) {
    at += std::max<std::size_t>(1, CharacterLength(text.substr(at)));
  }
  return at;
}

}  // namespace torvik
